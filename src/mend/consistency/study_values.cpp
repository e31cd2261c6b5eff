#include "mend/consistency/study_values.h"

#include "mend/healing/numbers.h"
#include "mend/healing/sha256.h"
#include "mend/writing/encoder.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace lib_mend {

namespace {

constexpr std::string_view Blanks(" \0", 2);

std::string Without_Blanks(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(Blanks);
    return first == text.npos
               ? std::string()
               : std::string(text.substr(first, text.find_last_not_of(Blanks) + 1 - first));
}

std::string First_Name(std::string_view text)
{
    text = text.substr(0, text.find('='));
    const std::size_t last = text.find_last_not_of("^ ");
    return Without_Blanks(last == text.npos ? std::string_view() : text.substr(0, last + 1));
}

std::string Whole_Time(std::string text)
{
    constexpr std::size_t Whole = 6;
    if (text.find('.') != text.npos) {
        text.erase(text.find_last_not_of('0') + 1);
        text.erase(text.find_last_not_of('.') + 1);
    }
    return text.empty() || text.size() >= Whole ? text
                                                : text + std::string(Whole - text.size(), '0');
}

/** Sums up blocks of one size, whatever pieces they come in. */
class Sum {
public:
    void Add(std::span<const unsigned char> bytes)
    {
        while (!bytes.empty()) {
            const std::size_t size = std::min(bytes.size(), Block_Size - block_.size());
            block_.append(reinterpret_cast<const char*>(bytes.data()), size);
            bytes = bytes.subspan(size);
            if (block_.size() == Block_Size) {
                Close();
            }
        }
    }
    std::string Whole()
    {
        Close();
        return sum_;
    }

private:
    static constexpr std::size_t Block_Size = std::size_t{1} << 16;

    void Close()
    {
        const SHA256_Digest digest = SHA256(sum_ + block_);
        sum_.assign(digest.begin(), digest.end());
        block_.clear();
    }

    std::string sum_;
    std::string block_;
};

}  // namespace

std::string Compared_Value(const Data_Set& set, const DICOM_List& record, Compared_Form form,
                           const Character_Set& characters)
{
    constexpr std::size_t Longest_Read = 4096;
    constexpr std::size_t Longest_Kept = 256;
    const Bytes bytes = Has_Value(record) ? set.Value(record, Longest_Read) : Bytes();
    std::string text = Without_Blanks({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    switch (form) {
    case Compared_Form::Text:
        text = characters.To_UTF_8(text, VR_Of(record));
        break;
    case Compared_Form::Name:
        text = First_Name(characters.To_UTF_8(text, VR_Of(record)));
        break;
    case Compared_Form::Time:
        text = Whole_Time(std::move(text));
        break;
    case Compared_Form::Number:
        if (const auto numbers = Numbers_In(text, VR_Of(record), record.byte_order)) {
            text = Text_Of(*numbers);
        }
        break;
    }
    if (text.size() > Longest_Kept) {
        const SHA256_Digest digest = SHA256(text);
        text = text.substr(0, Longest_Kept) + std::string(digest.begin(), digest.end());
    }
    return text;
}

std::string Sum_Of_Contents(const Data_Set& set)
{
    // Without VRs, which implicit VR does not tell, data sets of all uncompressed syntaxes are alike.
    const Encoding encoding =
        set.encoding.encapsulated ? set.encoding : Encoding_Of(Implicit_Little_UID);
    Encoded_File file;
    Encode_List(set.source, set.records.Head(), {encoding}, file);
    Sum sum;
    const bool is_whole = file.Give([&sum](std::span<const unsigned char> bytes) {
        sum.Add(bytes);
        return true;
    });
    return is_whole ? sum.Whole() : std::string();
}

}  // namespace lib_mend
