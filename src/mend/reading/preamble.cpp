// A file that does not begin with 128 bytes and "DICM".
//
//   sound           pp * 128  D I C M  02 00 00 00 U L ...
//   no preamble               D I C M  02 00 00 00 U L ...
//   other length    pp * n    D I C M  02 00 00 00 U L ...     the n bytes are taken for the preamble
//   in front    xx  pp * 128  D I C M  02 00 00 00 U L ...     xx is left out, and can be kept
//   misspelt        pp * 128  D I C N  02 00 00 00 U L ...
//   no prefix       pp * 128           02 00 00 00 U L ...
//   bare                               02 00 00 00 U L ...     or the first element of the data set
//
// What is said: that the preamble or the prefix is missing, or how many bytes stand in front of it. A
// prefix counts only where elements follow it, but for the place where it belongs.
#include "mend/reading/preamble.h"

#include "mend/reading/evidence.h"
#include "mend/reading/meta_group.h"
#include "mend/reading/meta_header.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>

namespace lib_mend {

namespace {

constexpr std::int64_t Search_Size = std::int64_t{1} << 20;
constexpr std::string_view Prefix = "DICM";
constexpr auto Prefix_Size = static_cast<std::int64_t>(Prefix.size());

std::string Read_Text(const Source& file, std::int64_t at, std::int64_t size)
{
    Bytes bytes(static_cast<std::size_t>(std::clamp<std::int64_t>(file.Size() - at, 0, size)));
    bytes.resize(file.Read(at, bytes));
    return {bytes.begin(), bytes.end()};
}

/** In small letters, or with one wrong byte. */
bool Is_Misspelt(const std::string& bytes)
{
    int wrong = 0;
    int wrong_letters = 0;
    for (std::size_t i = 0; i < bytes.size() && i < Prefix.size(); ++i) {
        wrong += bytes[i] != Prefix[i] ? 1 : 0;
        wrong_letters += std::toupper(static_cast<unsigned char>(bytes[i])) != Prefix[i] ? 1 : 0;
    }
    return bytes.size() == Prefix.size() && (wrong == 1 || (wrong > 0 && wrong_letters == 0));
}

std::string Bytes_Text(std::int64_t count, const char* verb)
{
    return std::to_string(count) + (count == 1 ? " byte " : " bytes ") + verb +
           (count == 1 ? "s" : "");
}

/** The parts that stand where they belong, though not all of them are there. */
bool Find_At_Its_Place(const Source& file, File_Start& start)
{
    struct Layout {
        std::int64_t preamble;
        std::int64_t prefix;
    };
    constexpr Layout Layouts[] = {
        {0, 0}, {0, Prefix_Size}, {Preamble_Size, Prefix_Size}, {Preamble_Size, 0}};
    for (const bool by_meta : {true, false}) {
        for (const auto& [preamble, prefix] : Layouts) {
            const std::int64_t at = preamble + prefix;
            const std::string letters = Read_Text(file, preamble, prefix);
            // Any four bytes may be the first of a data set's element; "DICM" is none.
            const bool may_be_prefix =
                prefix == 0 || preamble > 0 || letters == Prefix || Is_Misspelt(letters);
            if (!may_be_prefix || !(by_meta ? Is_Meta_Group(file, at) : Is_Data_Set(file, at))) {
                continue;
            }
            start = {.found = true, .at = at, .preamble_size = preamble, .bare = at == 0};
            start.fault = at == 0                 ? ""
                          : letters == Prefix     ? "\"DICM\" stands without a preamble"
                          : Is_Misspelt(letters)  ? "the prefix \"DICM\" is misspelt"
                          : prefix == Prefix_Size ? "other bytes stand in the place of \"DICM\""
                                                  : "no \"DICM\" stands behind the preamble";
            if (preamble == 0 && Is_Misspelt(letters)) {
                start.fault += " and stands without a preamble";
            }
            return true;
        }
    }
    return false;
}

/** "DICM" at another place, with elements behind it. */
bool Find_Prefix(const Source& file, const std::string& head, File_Start& start)
{
    for (std::size_t found = head.find(Prefix); found != head.npos;
         found = head.find(Prefix, found + 1)) {
        const auto place = static_cast<std::int64_t>(found);
        const std::int64_t at = place + Prefix_Size;
        if (!Is_Meta_Group(file, at) && !Is_Data_Set(file, at)) {
            continue;
        }
        const bool is_blank = head.find_first_not_of('\0') == found;
        start = {.found = true, .at = at};
        if (place < Preamble_Size || is_blank) {
            start.preamble_size = place;
            start.fault =
                place == 0 ? "\"DICM\" stands without a preamble"
                           : "the preamble has " + std::to_string(place) + " bytes instead of 128";
        } else {
            start.in_front = place - Preamble_Size;
            start.preamble_size = Preamble_Size;
            start.fault = Bytes_Text(start.in_front, "stand") + " in front of the preamble";
        }
        return true;
    }
    return false;
}

/** Group 0002 or a data set somewhere behind bytes that are neither. */
bool Find_Elements(const Source& file, const std::string& head, File_Start& start)
{
    const auto in_memory = Source::From_Image(
        {reinterpret_cast<const unsigned char*>(head.data()), head.size()}, file.Name());
    for (std::int64_t at = 1; at < in_memory->Size(); ++at) {
        if (Is_Start_Of_Meta_Group(*in_memory, at)) {
            const bool has_prefix =
                at >= Prefix_Size &&
                Is_Misspelt(head.substr(static_cast<std::size_t>(at - Prefix_Size), Prefix.size()));
            const std::int64_t envelope = has_prefix ? Preamble_Size + Prefix_Size : 0;
            start = {.found = true, .at = at, .in_front = std::max<std::int64_t>(at - envelope, 0)};
            start.preamble_size = has_prefix ? std::min(at - Prefix_Size, Preamble_Size) : 0;
            start.fault = has_prefix && start.in_front == 0
                              ? "the prefix \"DICM\" is misspelt, and the preamble has " +
                                    std::to_string(start.preamble_size) + " bytes instead of 128"
                              : Bytes_Text(start.in_front, "stand") + " in front of the " +
                                    (has_prefix ? "preamble, and the prefix \"DICM\" is misspelt"
                                                : "file meta information");
            return true;
        }
    }
    constexpr int Enough_Pairs = 3;
    Survey best;
    for (const Encoding& form : Header_Forms) {
        const Survey survey = Survey_Of(file, 0, form);
        best = survey.pairs > best.pairs ? survey : best;
    }
    if (best.pairs < Enough_Pairs) {
        return false;
    }
    start = {.found = true, .at = best.first, .in_front = best.first, .bare = true};
    start.fault =
        best.first == 0 ? "" : Bytes_Text(best.first, "stand") + " in front of the data set";
    return true;
}

struct Signature {
    std::size_t at;
    std::string_view bytes;
    const char* what;
    /** A container may hold a DICOM file, which is not to be torn out of it. */
    bool is_container;
};

constexpr Signature Signatures[] = {
    {0, {"PK\3\4", 4}, "a ZIP archive; unpack it first", true},
    {0, {"7z\xBC\xAF\x27\x1C", 6}, "a 7-Zip archive; unpack it first", true},
    {0, {"Rar!\x1A\7", 6}, "a RAR archive; unpack it first", true},
    {257, {"ustar", 5}, "a tar archive; unpack it first", true},
    {0, {"BZh", 3}, "a bzip2 file; unpack it first", true},
    {0, {"\xFD\x37zXZ", 5}, "an xz file; unpack it first", true},
    {0, {"\x28\xB5\x2F\xFD", 4}, "a Zstandard file; unpack it first", true},
    {0, {"\x1F\x8B", 2}, "a gzip file", false},
    {0, {"\x89PNG", 4}, "a PNG image", false},
    {0, {"\xFF\xD8\xFF", 3}, "a JPEG image", false},
    {0, {"GIF8", 4}, "a GIF image", false},
    {0, {"II*\0", 4}, "a TIFF image", false},
    {0, {"MM\0*", 4}, "a TIFF image", false},
    {4, {"jP  ", 4}, "a JPEG 2000 image", false},
    {344, {"n+1\0", 4}, "a NIfTI image", false},
    {0, {"NRRD", 4}, "an NRRD image", false},
    {0, {"%PDF", 4}, "a PDF document", false},
    {0,
     {"\x7F"
      "ELF",
      4},
     "a program",
     false},
    {0, {"MZ", 2}, "a program", false},
};

const Signature* Signature_Of(const std::string& head)
{
    const auto* const found =
        std::find_if(std::begin(Signatures), std::end(Signatures), [&](const Signature& each) {
            return head.size() > each.at &&
                   std::string_view(head).substr(each.at).starts_with(each.bytes);
        });
    return found != std::end(Signatures) ? found : nullptr;
}

bool Is_Text(const std::string& head)
{
    return std::all_of(head.begin(), head.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte >= 0x20 && byte != 0x7F) || (byte >= '\t' && byte <= '\r') || byte == 0x1B;
    });
}

bool Holds_Only_Zeros(const Source& file)
{
    std::array<unsigned char, 65536> block;
    for (std::int64_t at = 0; at < file.Size(); at += std::ssize(block)) {
        const std::size_t size = file.Read(at, block);
        if (std::any_of(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(size),
                        [](unsigned char byte) { return byte != 0; })) {
            return false;
        }
    }
    return true;
}

}  // namespace

File_Start Find_Start(const Source& file)
{
    File_Start start;
    if (Read_Text(file, Preamble_Size, Prefix_Size) == Prefix) {
        return {.found = true, .at = Preamble_Size + Prefix_Size, .preamble_size = Preamble_Size};
    }
    if (Find_At_Its_Place(file, start)) {
        return start;
    }
    const std::string head = Read_Text(file, 0, Search_Size);
    const Signature* const signature = Signature_Of(head);
    const bool is_container = signature != nullptr && signature->is_container;
    if (!is_container && !Find_Prefix(file, head, start)) {
        Find_Elements(file, head, start);
    }
    return start;
}

std::string Foreign_Text(const Source& file)
{
    constexpr std::int64_t Enough = 4096;
    const std::string head = Read_Text(file, 0, Enough);
    if (file.Size() == 0) {
        return "is empty";
    }
    if (Holds_Only_Zeros(file)) {
        return "holds nothing but zeros";
    }
    if (const Signature* const signature = Signature_Of(head)) {
        return std::string("is no DICOM file, but ") + signature->what;
    }
    return Is_Text(head) ? "is no DICOM file, but a text" : "is no DICOM file";
}

}  // namespace lib_mend
