// The process-wide lock around rotating result slots.
#include <Lib_Util/Lib_Util.h>

#include <mutex>

namespace {

std::recursive_mutex& Lock()
{
    static std::recursive_mutex lock;
    return lock;
}

}  // namespace

void Critical_Util_In(void)
{
    Lock().lock();
}

void Critical_Util_Out(void)
{
    Lock().unlock();
}
