// Position counters of memory images. Their addresses travel in 32 bits, so they are kept on pages
// of their own in the lowest part of the address space.
#include "frame/report.h"
#include "read/byte_source.h"

#include <algorithm>
#include <bitset>
#include <utility>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

using namespace lib_dicom;

namespace {

constexpr Unit This_Unit = "NEMA_Read_TAG";

constexpr std::size_t Page_Size = 4096;
constexpr std::size_t Page_Counters = Page_Size / sizeof(int);

/** Addresses that are asked for where the system does not choose a low one by itself. */
constexpr std::uintptr_t First_Hint = 0x10000000;
constexpr std::uintptr_t Last_Hint = 0x7FF00000;
constexpr std::uintptr_t Hint_Step = 0x10000;

int Narrow_Address(const void* address)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(address));
}

#if defined(_WIN32)

void* Map(std::uintptr_t hint)
{
    return VirtualAlloc(reinterpret_cast<void*>(hint), Page_Size, MEM_RESERVE | MEM_COMMIT,
                        PAGE_READWRITE);
}

void Unmap(void* page)
{
    VirtualFree(page, 0, MEM_RELEASE);
}

#else

void* Map(std::uintptr_t hint)
{
    int flags = MAP_PRIVATE | MAP_ANONYMOUS;
#if defined(MAP_32BIT)
    flags |= MAP_32BIT;  // which an address that is asked for overrules
#endif
#if defined(MAP_FIXED_NOREPLACE)
    flags |= hint != 0 ? MAP_FIXED_NOREPLACE : 0;
#endif
    void* const page =
        mmap(reinterpret_cast<void*>(hint), Page_Size, PROT_READ | PROT_WRITE, flags, -1, 0);
    return page == MAP_FAILED ? nullptr : page;
}

void Unmap(void* page)
{
    munmap(page, Page_Size);
}

#endif

/** A page whose address survives the way through 32 bits; null when the system gives another. */
int* Try_Map(std::uintptr_t hint)
{
    void* const page = Map(hint);
    if (page != nullptr && Widen_Where(Narrow_Address(page)) != page) {
        Unmap(page);
        return nullptr;
    }
    return static_cast<int*>(page);
}

int* Map_Low_Page()
{
    int* page = Try_Map(0);
    for (std::uintptr_t hint = First_Hint; page == nullptr && hint < Last_Hint; hint += Hint_Step) {
        page = Try_Map(hint);
    }
    return page;
}

class Counter_Page {
public:
    Counter_Page() : counters_(Map_Low_Page())
    {
    }
    Counter_Page(Counter_Page&& other) noexcept
        : counters_(std::exchange(other.counters_, nullptr)), used_(other.used_)
    {
    }
    Counter_Page& operator=(Counter_Page&& other) noexcept
    {
        std::swap(counters_, other.counters_);
        std::swap(used_, other.used_);
        return *this;
    }
    ~Counter_Page()
    {
        if (counters_ != nullptr) {
            Unmap(counters_);
        }
    }

    bool Has_Room() const
    {
        return counters_ != nullptr && !used_.all();
    }
    bool Is_Unused() const
    {
        return used_.none();
    }
    bool Holds(const int* counter) const
    {
        return std::less_equal<>()(counters_, counter) &&
               std::less<>()(counter, counters_ + Page_Counters);
    }
    int* New()
    {
        std::size_t slot = 0;
        while (used_[slot]) {
            ++slot;
        }
        used_.set(slot);
        counters_[slot] = 0;
        return counters_ + slot;
    }
    void Free(const int* counter)
    {
        used_.reset(static_cast<std::size_t>(counter - counters_));
    }

private:
    int* counters_;
    std::bitset<Page_Counters> used_;
};

class Counter_Pool {
public:
    /** Null when the system has no page left that would do. */
    int* New()
    {
        auto page = std::find_if(pages_.begin(), pages_.end(),
                                 [](const Counter_Page& entry) { return entry.Has_Room(); });
        if (page == pages_.end()) {
            Counter_Page fresh;
            if (!fresh.Has_Room()) {
                return nullptr;
            }
            page = pages_.insert(pages_.end(), std::move(fresh));
        }
        return page->New();
    }
    void Free(const int* counter)
    {
        const auto page =
            std::find_if(pages_.begin(), pages_.end(),
                         [&](const Counter_Page& entry) { return entry.Holds(counter); });
        if (page == pages_.end()) {
            return;
        }
        page->Free(counter);
        if (page->Is_Unused()) {
            pages_.erase(page);
        }
    }

private:
    std::vector<Counter_Page> pages_;
};

Counter_Pool& Counters()
{
    static Counter_Pool pool;
    return pool;
}

}  // namespace

int* NEMA_Position_New(HWND handle)
{
    const Trace_Scope trace(handle, Trace_Entry, "Lib_DICOM: NEMA_Position_New()");
    return Guarded(handle, This_Unit, static_cast<int*>(nullptr), [&] {
        int* const position = Counters().New();
        if (position == nullptr) {
            Report_Memory(handle, This_Unit, "malloc", "position", 1, sizeof(int));
        }
        return position;
    });
}

int NEMA_Position_Where(const int* position)
{
    return Narrow_Address(position);
}

void NEMA_Position_Free(int* position)
{
    const Trace_Scope trace(hwnd, Trace_Entry, "Lib_DICOM: NEMA_Position_Free()");
    Counters().Free(position);
}
