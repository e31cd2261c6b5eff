#!/usr/bin/env python3
"""Runs the code in pages, which stands in fences that name its language.

    code_of_pages.py c|cpp PAGE...                prints a program whose functions are the blocks of that language
    code_of_pages.py python LIBRARY FILE PAGE...  runs the blocks in Python in a folder where old.dcm is FILE

A block takes what it needs from those in front of it on its page (Python), or stands alone (C and C++). Pages without such
a block are left out.
"""

import os
import pathlib
import re
import shutil
import sys
import tempfile

PYTHON = pathlib.Path(__file__).resolve().parent.parent.parent / "python"

# What the blocks speak of without making it.
BEGIN = {
    "c": "#include <Lib_DICOM_Mend/dicom_mend.h>\n#include <stdio.h>\n",
    "cpp": """#include <Lib_DICOM/Lib_DICOM.h>
#include <Lib_DICOM_Mend/dataset.hpp>
#include <iostream>
const HWND handle = nullptr;
DICOM_List* One_Record()
{
    DICOM_List record = {};
    record.group = 0x0010;
    record.element = 0x0010;
    record.vr = VR_PN;
    DICOM_Root root = {};
    DICOM_List* list = nullptr;
    return DICOM_Attribute_Insert(nullptr, &root, &list, &record, 0);
}
DICOM_List* const list = One_Record();
""",
}


def blocks(language, page):
    return re.findall(rf"^```{language}\n(.*?)^```$", pathlib.Path(page).read_text("utf-8"), re.M | re.S)


def program(language, pages):
    found = [block for page in pages for block in blocks(language, page)]
    assert found, f"no block of {language}"
    text = BEGIN[language]
    for number, block in enumerate(found):
        includes = [line for line in block.splitlines() if line.startswith("#include")]
        rest = [line for line in block.splitlines() if not line.startswith("#include")]
        text += "\n".join(includes + [f"static void block_{number}(void)", "{", *rest, "}", ""])
    calls = "".join(f"    block_{number}();\n" for number in range(len(found)))
    return text + f"int main(void)\n{{\n{calls}    return 0;\n}}\n"


def run_python(library, file, pages):
    os.environ["DICOM_MEND_LIBRARY"] = os.path.abspath(library)
    file = os.path.abspath(file)
    sys.path.insert(0, str(PYTHON))
    sys.dont_write_bytecode = True
    pages = [page for page in map(os.path.abspath, pages) if blocks("python", page)]
    assert len(pages) > 2, pages
    for page in pages:
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(file, f"{folder}/old.dcm")
            os.chdir(folder)
            names = {}
            for block in blocks("python", page):
                exec(compile(block, page, "exec"), names)  # pylint: disable=exec-used
            assert pathlib.Path("new.dcm").is_file(), page
            os.chdir("/")


if sys.argv[1] == "python":
    run_python(*sys.argv[2:4], sys.argv[4:])
else:
    print(program(sys.argv[1], sys.argv[2:]), end="")
