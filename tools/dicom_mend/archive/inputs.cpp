#include "archive/inputs.h"

#include "mend/io/system_files.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace dicom_mend {

namespace {

namespace fs = std::filesystem;

/** Nothing is there, or a folder with nothing in it but what a run makes for itself. */
bool Is_Free(const std::string& folder)
{
    for (const std::string& name : lib_mend::Names_In(folder)) {
        if (!name.starts_with(".dicom-mend")) {
            return false;
        }
    }
    return true;
}

std::string Refusal_Of_Quarantine(const Run_Options& options)
{
    const std::string& quarantine = options.quarantine;
    const bool is_listed = !options.walk.list.empty();
    const bool is_first = !options.resume && options.walk.shards == 1;
    if (Inputs(options.walk.paths).Hold(quarantine)) {
        return quarantine + ": error: the folder of quarantine has to stand apart from the inputs";
    }
    if (Stands_In(quarantine, options.to) || Stands_In(options.to, quarantine)) {
        return quarantine + ": error: the folder of quarantine has to stand apart from that of the "
                            "outputs";
    }
    if (is_first && (is_listed || !options.force) && !Is_Free(quarantine)) {
        return quarantine + ": error: is not empty" + (is_listed ? "" : "; --force adds to it");
    }
    return {};
}

/** What a run writes beside its outputs must not take the place of anything else. */
std::string Refusal_Of_File(const Run_Options& options, const std::string& path)
{
    if (!options.quarantine.empty() && Stands_In(path, options.quarantine)) {
        return path + ": error: has to stand apart from the folder of quarantine";
    }
    // One that is not empty tells by itself that it is another file.
    if (!options.resume && lib_mend::File_Size(path) == 0 &&
        Inputs(options.walk.paths).Hold(path)) {
        return path + ": error: stands in the inputs, where nothing is replaced";
    }
    return {};
}

}  // namespace

fs::path Place_Of(const std::string& path)
{
    return lib_mend::Whole_Path(lib_mend::Native_Path(path));
}

bool Stands_In(const std::string& path, const std::string& folder)
{
    const fs::path inside = Place_Of(path);
    const fs::path around = Place_Of(folder);
    return std::mismatch(around.begin(), around.end(), inside.begin(), inside.end()).first ==
           around.end();
}

Inputs::Inputs(const std::vector<std::string>& paths)
{
    for (const std::string& path : paths) {
        places_.insert(Place_Of(path).string());
    }
}

bool Inputs::Hold(const std::string& path) const
{
    return Hold_Place(Place_Of(path));
}

bool Inputs::Hold_Entry(const std::string& path) const
{
    const fs::path whole = lib_mend::Native_Path(path);
    return Hold_Place(lib_mend::Whole_Path(whole.parent_path()) / whole.filename());
}

bool Inputs::Hold_Place(fs::path place) const
{
    for (;; place = place.parent_path()) {
        if (places_.contains(place.string())) {
            return true;
        }
        if (place == place.parent_path()) {
            return false;
        }
    }
}

std::string Refusal_Of(const Run_Options& options)
{
    const std::string& to = options.to;
    for (const std::string& folder : {to, options.quarantine}) {
        const auto holds = [&folder](const std::string& path) {
            return Stands_In(path, folder);
        };
        const auto& paths = options.walk.paths;
        const auto held =
            folder.empty() ? paths.end() : std::find_if(paths.begin(), paths.end(), holds);
        if (held != paths.end()) {
            return folder + ": error: holds the input " + *held + ", which is never overwritten";
        }
    }
    // Whether a list names what stands there, or a link leads to it, is known too late.
    const bool is_listed = !options.walk.list.empty();
    if ((is_listed || options.walk.follow) && options.force && !to.empty() && !Is_Free(to)) {
        return to + ": error: --force with " + (is_listed ? "a list" : "--follow") +
               " needs a folder with nothing in it";
    }
    for (const std::string& path : {options.report, options.State_Path()}) {
        const std::string refused = path.empty() ? path : Refusal_Of_File(options, path);
        if (!refused.empty()) {
            return refused;
        }
    }
    if (options.has_layout && options.walk.shards > 1 && options.force) {
        return to + ": error: --force cannot tell what other shards put there from older files";
    }
    return options.quarantine.empty() ? std::string() : Refusal_Of_Quarantine(options);
}

}  // namespace dicom_mend
