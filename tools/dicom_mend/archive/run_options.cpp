#include "archive/run.h"
#include "archive/run_state.h"
#include "mend/io/system_files.h"

#include <algorithm>

namespace dicom_mend {

std::string Without_Slash(std::string path)
{
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

bool Run_Options::Asks_For_Run() const
{
    constexpr std::size_t Many = 16;
    return jobs != 0 || !to.empty() || !report.empty() || !state.empty() || !walk.list.empty() ||
           walk.shards > 1 || walk.paths.size() >= Many ||
           std::any_of(walk.paths.begin(), walk.paths.end(), &lib_mend::Is_Folder);
}

std::string Run_Options::Shard_Text() const
{
    return walk.shards > 1 ? "-" + std::to_string(walk.shard) + "-of-" + std::to_string(walk.shards)
                           : "";
}

std::string Run_Options::Work_Folder() const
{
    return to + "/.dicom-mend" + Shard_Text();
}

std::string Run_Options::State_Path() const
{
    return !state.empty() || to.empty() ? state : to + State_Ending + Shard_Text();
}

}  // namespace dicom_mend
