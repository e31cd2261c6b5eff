"""The package as its users have it: installed, with its own libraries and definitions."""

import copy
import dataclasses
import io
import json
import pathlib
import threading

import dicom_mend
import pytest
from dicom_mend import Dataset, Level, MendError, Severity
from hypothesis import given, settings
from hypothesis import strategies as st


def test_comes_with_its_own_libraries_and_definitions():
    folder = pathlib.Path(dicom_mend.__file__).parent
    assert (folder / "lib" / "libLib_DICOM_Mend.so.21").exists()
    assert (folder / "py.typed").exists()
    assert "site-packages" in str(folder)
    result = dicom_mend.complete(_made().encode(), module="SC")
    assert Dataset.read(result.data)["StudyInstanceUID"].text.startswith("2.25.")


def _made() -> Dataset:
    ds = Dataset()
    ds["SOPClassUID"] = "1.2.840.10008.5.1.4.1.1.7"
    ds["PatientName"] = "Doe^Jane"
    return ds


def test_finds_what_is_wrong_and_changes_nothing(damaged):
    before = damaged.read_bytes()
    found = dicom_mend.check(damaged)
    assert found == dicom_mend.check(before) == dicom_mend.check(io.BytesIO(before))
    (date,) = [finding for finding in found if finding.path == "0008,0020"]
    assert dataclasses.asdict(date) == {
        "code": date.code, "kind": "old-syntax", "severity": Severity.WARNING,
        "level": Level.CHANGE, "tag": 0x00080020, "path": "0008,0020", "offset": date.offset,
        "length": 10, "message": "date in another form", "before": b"1997.06.24",
        "after": b"19970624", "is_harmless": False,
        "rule": "dates are YYYYMMDD, times HHMMSS.FFFFFF", "clause": "PS3.5 6.2"}
    assert before[date.offset:date.offset + 4] == b"\x08\x00\x20\x00"
    assert str(date) == "warning: 0008,0020: date in another form"
    # What a finding quotes may hold NULs.
    (time,) = [finding for finding in dicom_mend.check(before.replace(b"10:42:07", b"10:42\0\x007"))
               if finding.path == "0008,0030"]
    assert time.before == b"10:42\0\x007" and time.before.count(b"\0") == 2
    missing = dicom_mend.check(damaged, module="SC")
    assert {"missing"} <= {finding.kind for finding in missing}
    assert damaged.read_bytes() == before


def test_mends_to_paths_bytes_and_file_objects(damaged, tmp_path):
    target, stream = tmp_path / "Ä new.dcm", io.BytesIO()
    by_path = dicom_mend.mend(damaged, target)
    in_memory = dicom_mend.mend(damaged.read_bytes())
    dicom_mend.mend(str(damaged), stream)
    assert by_path.outcome == in_memory.outcome == 1
    assert by_path.findings == in_memory.findings
    assert target.read_bytes() == in_memory.data == stream.getvalue()
    assert dicom_mend.mend(target).data == in_memory.data
    with pytest.raises(MendError, match="exists"):
        dicom_mend.mend(damaged, target)
    dicom_mend.mend(damaged, target, replace=True)
    with pytest.raises(MendError, match="never overwritten"):
        dicom_mend.mend(target, target, replace=True)


def test_takes_back_what_was_recorded(damaged):
    recorded = dicom_mend.mend(damaged, record=True).data
    assert Dataset.read(recorded)["StudyDate"].value == "19970624"
    assert Dataset.read(dicom_mend.undo(recorded).data)["StudyDate"].text == "1997.06.24"
    with pytest.raises(MendError):
        dicom_mend.undo(dicom_mend.mend(damaged).data)


def test_tells_wrong_calls_apart(tmp_path):
    with pytest.raises(MendError, match="No such file") as raised:
        dicom_mend.read(tmp_path / "none")
    assert raised.value.status == 3
    with pytest.raises(MendError, match="no DICOM"):
        dicom_mend.read(b"no DICOM")
    assert [finding.kind for finding in dicom_mend.check(b"no DICOM")] == ["not-dicom"]
    with pytest.raises(TypeError, match="no such option"):
        dicom_mend.check(b"", stern=True)
    with pytest.raises(TypeError, match="binary"):
        dicom_mend.read(io.StringIO("x"))
    with pytest.raises(ValueError, match="format"):
        dicom_mend.Session().report("x", "xml")
    with pytest.raises(ValueError, match="syntax"):
        dicom_mend.mend(b"", syntax="morse")
    with pytest.raises(MendError):
        dicom_mend.mend(b"", charset="KLINGON")


def test_is_a_mapping():
    ds = _made()
    ds.add_item("RequestAttributesSequence")["ScheduledProcedureStepID"] = "A1"
    ds[0x00280010] = 512
    ds.set("0009,0010", "MAKER")
    ds.set("0009,1001", [0.5, -1.0], vr="FD")
    ds["PixelData"] = b"\x01\x02"
    assert list(ds) == ["0008,0016", "0009,0010", "0009,1001", "0010,0010", "0028,0010",
                        "0040,0275", "7fe0,0010"]
    assert ds["0040,0275[0]/0040,0009"].value == "A1"
    assert ds["RequestAttributesSequence"].items[0]["0040,0009"].name == (
        "Scheduled Procedure Step ID")
    assert ds["Rows"].value == 512 and ds["Rows"].vr == "US" and ds["Rows"].tag == 0x00280010
    assert ds["0009,1001"].value == ds["0009,1001"].numbers == [0.5, -1.0]
    assert ds["PixelData"].value == b"\x01\x02"
    assert "PatientID" not in ds and ds.get("PatientID") is None and "Rows" in ds
    with pytest.raises(KeyError):
        ds["NoSuchKeyword"]
    twin = copy.deepcopy(ds)
    element = ds["PatientName"]
    del ds["Rows"]
    with pytest.raises(KeyError):
        del ds["Rows"]
    with pytest.raises(RuntimeError):
        element.value
    assert len(twin) == 7 and len(ds) == 6
    assert twin == copy.copy(twin) and twin != ds and twin["PatientName"] == ds["PatientName"]
    assert twin.pop("PatientName") == "Doe^Jane" and twin.pop("PatientName", 1) == 1
    assert twin.popitem() == ("0008,0016", "1.2.840.10008.5.1.4.1.1.7")
    with pytest.raises(MendError):
        ds["Rows"] = "many"
    for wrong in ({}, set(), [1, "x"], object()):
        with pytest.raises(TypeError):
            ds["Rows"] = wrong


def test_gives_and_takes_json():
    ds = _made()
    ds["PatientName"] = "Müller^Jürgen"
    model = ds.to_json_model()
    assert model["00100010"]["Value"] == [{"Alphabetic": "Müller^Jürgen"}]
    again = Dataset.from_json(model)
    assert again.to_json_model() == model == json.loads(ds.to_json())
    assert Dataset.from_json([model]) == Dataset.from_json(json.dumps(model)) == again
    with pytest.raises(MendError):
        Dataset.from_json("{")


def test_lets_other_threads_run(damaged):
    data, results = damaged.read_bytes(), []
    threads = [threading.Thread(target=lambda: results.append(dicom_mend.mend(data).data))
               for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len(set(results)) == 1 and len(results) == 8


@settings(max_examples=100, deadline=None)
@given(st.binary(max_size=600), st.integers(0, 600), st.sampled_from(["keep", "implicit-little"]))
def test_whatever_is_in_a_file_is_mended_once(noise, place, syntax):
    sound = _made().encode()
    data = sound[:place] + noise + sound[place:]
    try:
        once = dicom_mend.mend(data, syntax=syntax)
    except MendError:
        return
    assert dicom_mend.mend(once.data, syntax=syntax).data == once.data


@given(st.text(st.characters(blacklist_categories=("Cs", "Cc"), blacklist_characters="\\"),
               max_size=40))
def test_texts_come_back(text):
    ds = _made()
    ds["StudyDescription"] = text
    assert (Dataset.read(ds.encode())["StudyDescription"].text or "") == text.strip(" ")


@given(st.lists(st.floats(allow_nan=False), max_size=5), st.lists(st.integers(-2**63, 2**63 - 1)))
def test_numbers_come_back(reals, integers):
    ds = _made()
    ds.set("0009,0010", "MAKER")
    ds.set("0009,1001", reals, vr="FD")
    ds.set("0009,1002", integers, vr="SV")
    again = Dataset.read(ds.encode())
    assert again["0009,1001"].numbers == reals
    assert [int(text) for text in again["0009,1002"].texts] == integers
