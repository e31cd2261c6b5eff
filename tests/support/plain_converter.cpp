#include "support/plain_converter.h"

#include "support/plain_reader.h"
#include "support/stream_builder.h"

#include <charconv>
#include <cstdint>

namespace {

constexpr char Implicit_Little[] = "1.2.840.10008.1.2";
constexpr char Explicit_Little[] = "1.2.840.10008.1.2.1";
constexpr char Explicit_Big[] = "1.2.840.10008.1.2.2";

class Converter {
public:
    Converter(const Plain_File& file, unsigned char code) : file_(file), stream_(code)
    {
        List("");
    }
    const std::string& Bytes() const
    {
        return stream_.Bytes();
    }

private:
    bool Is_Next(const std::string& beginning) const
    {
        return at_ < file_.elements.size() && file_.elements[at_].path.starts_with(beginning);
    }

    /** Writes the elements of one item, which come next. */
    void List(const std::string& prefix)
    {
        while (Is_Next(prefix) &&
               file_.elements[at_].path.find('[', prefix.size()) == prefix.npos) {
            const Plain_Element& element = file_.elements[at_++];
            if (element.path.starts_with("0002")) {
                continue;
            }
            const std::string items = element.path + "[";
            const unsigned int group = Number(element.path.substr(prefix.size(), 4));
            const unsigned int number = Number(element.path.substr(prefix.size() + 5, 4));
            if (element.vr == "SQ") {
                stream_.Sequence(group, number);
                for (int item = 0; Is_Next(items); ++item) {
                    stream_.Item();
                    List(items + std::to_string(item) + "]/");
                    stream_.Item_End();
                }
                stream_.Sequence_End();
            } else if (element.undefined_length) {
                stream_.Header(group, number, element.vr, DICOM_Undefined_Length);
                for (; Is_Next(items); ++at_) {
                    const std::string& value = file_.elements[at_].value;
                    stream_.Item(static_cast<int>(value.size())).Raw(value);
                }
                stream_.Sequence_End();
            } else {
                stream_.Element(group, number, VR_Of(element, group, number), element.value);
            }
        }
    }

    static unsigned int Number(const std::string& digits)
    {
        unsigned int number = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
        return number;
    }

    static std::string VR_Of(const Plain_Element& element, unsigned int group, unsigned int number)
    {
        if (!element.vr.empty()) {
            return element.vr;
        }
        const TAG_db_Elems* const entry =
            NEMA_db_Locate(static_cast<unsigned short>(group), static_cast<unsigned short>(number));
        const unsigned int vr = entry != nullptr ? entry->vr[0] : 0U;
        const bool is_known = vr != 0 && element.value.size() <= 0xFFFF;
        return is_known ? std::string{static_cast<char>(vr >> 8), static_cast<char>(vr & 0xFF)}
                        : "UN";
    }

    const Plain_File& file_;
    Stream_Builder stream_;
    std::size_t at_ = 0;
};

}  // namespace

std::string Convert_Plainly(const std::string& bytes)
{
    const Plain_File file = Read_Plain(bytes);
    if (!file.error.empty()) {
        return {};
    }
    const std::string syntax = file.syntax == Explicit_Little   ? Implicit_Little
                               : file.syntax == Implicit_Little ? Explicit_Little
                                                                : file.syntax;
    const int code = (syntax == Implicit_Little ? 0 : DICOM_Order_Explicit_VR) |
                     (syntax == Explicit_Big ? DICOM_Order_Big_Endian : 0);
    return Part10_Head(syntax) + Converter(file, static_cast<unsigned char>(code)).Bytes();
}
