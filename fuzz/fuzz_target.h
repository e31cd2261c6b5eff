// What the fuzz targets share. Each target is one file with the entry point of libFuzzer; its input
// starts with a few bytes that select options, the rest is what the target reads.
#ifndef FUZZ_FUZZ_TARGET_H
#define FUZZ_FUZZ_TARGET_H

#include <Lib_DICOM/Lib_DICOM.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/** Stops the process when a property does not hold, which is what a fuzzer looks for. */
inline void Require(bool holds, const char* property)
{
    if (!holds) {
        std::fprintf(stderr, "property does not hold: %s\n", property);
        std::abort();
    }
}

/** The bytes of one input, taken from its front. */
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size)
    {
    }

    /** The next byte, 0 at the end. */
    std::uint8_t Byte()
    {
        if (rest_.empty()) {
            return 0;
        }
        const std::uint8_t byte = rest_.front();
        rest_ = rest_.subspan(1);
        return byte;
    }
    unsigned short Short()
    {
        const std::uint8_t low = Byte();
        return static_cast<unsigned short>(low | Byte() << 8);
    }
    std::span<const unsigned char> Rest() const
    {
        return rest_;
    }
    std::string Text() const
    {
        return {rest_.begin(), rest_.end()};
    }

private:
    std::span<const std::uint8_t> rest_;
};

/** Takes the messages of a scope, and looks at every byte of them. */
class Silence {
public:
    Silence()
    {
        Error_Sink_Set(&Silence::Take, this);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    ~Silence()
    {
        Error_Sink_Set(nullptr, nullptr);
    }

    long Count() const
    {
        return count_;
    }

private:
    static void Take(HWND, unsigned int, const char* text, void* context)
    {
        auto* const self = static_cast<Silence*>(context);
        ++self->count_;
        self->bytes_ += std::strlen(text);
    }

    long count_ = 0;
    std::size_t bytes_ = 0;
};

/** Every VR that the library knows, its pseudo VRs included, and two that it does not know. */
inline constexpr unsigned short VRs[] = {
    VR_AE, VR_AS, VR_AT, VR_CS, VR_DA, VR_DS, VR_DT, VR_FD,   VR_FL,        VR_IS,
    VR_LO, VR_LT, VR_OB, VR_OF, VR_OW, VR_PN, VR_SH, VR_SL,   VR_SQ,        VR_SS,
    VR_ST, VR_TM, VR_UI, VR_UL, VR_UN, VR_US, VR_UT, VR_OD,   VR_OL,        VR_OV,
    VR_SV, VR_UC, VR_UR, VR_UV, VR_OX, VR_UH, VR_RT, VR_Item, VR_Delimiter, DICOM_VR('Z', 'Z'),
    0};

inline unsigned short Pick_VR(std::uint8_t byte)
{
    return VRs[byte % std::size(VRs)];
}

/** A record that owns its value, in a block of exactly its size so that overruns show. */
class Owned_Record {
public:
    Owned_Record() = default;
    Owned_Record(const Owned_Record&) = delete;
    Owned_Record& operator=(const Owned_Record&) = delete;
    ~Owned_Record()
    {
        std::free(record_.data);
        std::free(record_.description);
    }
    DICOM_List* Get()
    {
        return &record_;
    }
    DICOM_List* operator->()
    {
        return &record_;
    }
    void Set_Value(std::span<const unsigned char> value)
    {
        record_.size = static_cast<int>(value.size());
        if (!value.empty()) {
            record_.data = static_cast<unsigned char*>(std::malloc(value.size()));
            std::copy(value.begin(), value.end(), record_.data);
        }
    }
    std::string Value() const
    {
        return record_.data == nullptr ? std::string()
                                       : std::string(reinterpret_cast<const char*>(record_.data),
                                                     static_cast<std::size_t>(record_.size));
    }

private:
    DICOM_List record_ = {};
};

}  // namespace fuzz

#endif
