// The C interface over any file: all that can be asked is asked, a few changes are made, and the
// data set is checked, mended and encoded.
//
// Input: flags of the session; syntax, character set and kind of the rest; four bytes a change, three
// changes; a file, or JSON.
#include "fuzz_target.h"

#include <Lib_DICOM_Mend/dicom_mend.h>

#include <array>
#include <memory>
#include <string_view>
#include <vector>

namespace {

using fuzz::Require;

template <auto Free>
struct Freed {
    template <class Handle>
    void operator()(Handle* handle) const
    {
        Free(handle);
    }
};
using Session = std::unique_ptr<dicom_mend_session, Freed<dicom_mend_session_free>>;
using Dataset = std::unique_ptr<dicom_mend_dataset, Freed<dicom_mend_dataset_free>>;

struct Change {
    std::uint8_t kind;
    std::uint8_t place;
    std::uint8_t value;
    std::uint8_t vr;
};

/** Where a change is made: elements that are there, and what they are in. */
struct Place {
    const dicom_mend_item* item;
    std::uint32_t tag;
};

void Ask_For_Texts(const dicom_mend_dataset* set, const dicom_mend_element* element,
                   std::size_t index)
{
    std::size_t length = 0;
    Require(dicom_mend_get_text(set, element, index, nullptr, 0, &length) == DICOM_MEND_OK,
            "a value that is counted has a text");
    for (const std::size_t capacity : {length + 1, (length + 1) / 2}) {
        // On the heap in its exact size, so that overruns show.
        std::vector<char> buffer(capacity, 'x');
        std::size_t again = 0;
        dicom_mend_get_text(set, element, index, buffer.data(), capacity, &again);
        Require(again == length && (capacity == 0 || buffer.back() == '\0'),
                "a text ends with NUL in its buffer, and has one length");
    }
}

void Ask_For_Values(const dicom_mend_dataset* set, const dicom_mend_element* element)
{
    constexpr std::size_t Enough = 20;
    const std::size_t length = dicom_mend_length(element);
    std::vector<unsigned char> bytes(std::min<std::size_t>(length, 1U << 16));
    for (const std::size_t offset : {std::size_t{0}, length / 2, length, length + 1, SIZE_MAX}) {
        std::size_t copied = 0;
        dicom_mend_get_bytes(set, element, offset, bytes.data(), bytes.size(), &copied);
        Require(copied <= bytes.size() && (offset < length || copied == 0),
                "no more bytes are copied than there are");
    }
    const std::size_t count = dicom_mend_value_count(set, element);
    for (std::size_t i = 0; i < std::min(count, Enough); ++i) {
        double number = 0;
        std::int64_t whole = 0;
        Ask_For_Texts(set, element, i);
        dicom_mend_get_double(set, element, i, &number);
        dicom_mend_get_int(set, element, i, &whole);
    }
    Require(dicom_mend_get_text(set, element, count, nullptr, 0, nullptr) != DICOM_MEND_OK,
            "there is no value behind the last");
}

void Ask_For_Element(const dicom_mend_dataset* set, const dicom_mend_element* element)
{
    std::array<char, 3> vr = {};
    std::array<char, 16> name = {};
    dicom_mend_vr(element, vr.data());
    dicom_mend_offset(element);
    dicom_mend_tag_name(dicom_mend_tag(element), name.data(), name.size());
    Ask_For_Values(set, element);
    const std::size_t fragments = dicom_mend_fragment_count(element);
    for (std::size_t i = 0; i < fragments; ++i) {
        Ask_For_Values(set, dicom_mend_get_fragment(element, i));
    }
    Require(dicom_mend_get_fragment(element, fragments) == nullptr, "fragments are counted");
    Require(dicom_mend_get_item(element, dicom_mend_item_count(element)) == nullptr,
            "items are counted");
}

/** Goes through all elements, and gives the place of each. */
std::vector<Place> Walk(const dicom_mend_dataset* set)
{
    for (auto* meta = dicom_mend_first_meta(set); meta != nullptr; meta = dicom_mend_next(meta)) {
        Ask_For_Element(set, meta);
    }
    std::vector<Place> places;
    std::vector<const dicom_mend_item*> lists = {nullptr};
    while (!lists.empty()) {
        const dicom_mend_item* const list = lists.back();
        lists.pop_back();
        for (auto* element = dicom_mend_first(set, list); element != nullptr;
             element = dicom_mend_next(element)) {
            places.push_back({list, dicom_mend_tag(element)});
            // Group 0002 is looked for in the file meta information.
            Require(dicom_mend_tag(element) >> 16 == 0x0002 ||
                        dicom_mend_find(set, list, dicom_mend_tag(element)) != nullptr,
                    "an element that is there is found");
            Ask_For_Element(set, element);
            const std::size_t items = dicom_mend_item_count(element);
            for (std::size_t i = 0; i < items; ++i) {
                lists.push_back(dicom_mend_get_item(element, i));
            }
        }
    }
    return places;
}

void Set_Bytes(dicom_mend_dataset* set, const Place& place, const char* vr, std::string_view bytes)
{
    const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
    if (dicom_mend_set_bytes(set, place.item, place.tag, vr, data, bytes.size()) != DICOM_MEND_OK) {
        return;
    }
    const dicom_mend_element* const element = dicom_mend_find(set, place.item, place.tag);
    std::string there(bytes.size(), '\0');
    std::size_t copied = 0;
    dicom_mend_get_bytes(set, element, 0, reinterpret_cast<unsigned char*>(there.data()),
                         there.size(), &copied);
    Require(copied == bytes.size() && there == bytes, "the bytes that were set are there");
}

void Set_Number(dicom_mend_dataset* set, const Place& place, const char* vr, std::int64_t number)
{
    const std::array<std::int64_t, 2> numbers = {number, -number};
    if (dicom_mend_set_ints(set, place.item, place.tag, vr, numbers.data(), numbers.size()) !=
        DICOM_MEND_OK) {
        return;
    }
    std::int64_t there = 0;
    dicom_mend_get_int(set, dicom_mend_find(set, place.item, place.tag), 1, &there);
    Require(there == -number, "the number that was set is there");
}

void Make(const Change& change, dicom_mend_dataset* set)
{
    constexpr std::uint32_t Tags[] = {0x00100010, 0x00080005, 0x00081140, 0x00280010, 0x7FE00010,
                                      0x00091001, 0x00020010, 0xFFFEE000, 0x00080000, 0x04000561};
    constexpr std::string_view Values[] = {"",
                                           "A^B",
                                           "1\\2",
                                           "-1.5e3",
                                           "J\xC3\xA4ger",
                                           "\xFF\\\x1B$B",
                                           "ISO_IR 192",
                                           "1.2.3",
                                           "20240229",
                                           "odd",
                                           std::string_view("\0\1\2\3\4\5\6\7", 8)};
    const std::vector<Place> places = Walk(set);
    Place place = {nullptr, Tags[change.place % std::size(Tags)]};
    if (!places.empty() && (change.kind & 8) != 0) {
        place = places[change.place % places.size()];
        // Also what is not there yet, in an item.
        place.tag = (change.kind & 16) != 0 ? Tags[change.value % std::size(Tags)] : place.tag;
    }
    const unsigned short letters = fuzz::Pick_VR(change.vr);
    const char vr_text[] = {static_cast<char>(letters >> 8), static_cast<char>(letters & 0xFF), 0};
    const char* const vr = (change.kind & 32) != 0 ? vr_text : nullptr;
    const std::string_view value = Values[change.value % std::size(Values)];
    const double number = change.value / 3.0;
    const dicom_mend_item* added = nullptr;
    switch (change.kind & 7) {
    case 0:
        dicom_mend_set_text(set, place.item, place.tag, vr, value.data(), value.size());
        break;
    case 1:
        Set_Bytes(set, place, vr, value);
        break;
    case 2:
        dicom_mend_set_doubles(set, place.item, place.tag, vr, &number, 1);
        break;
    case 3:
        Set_Number(set, place, vr, change.value * 0x10001);
        break;
    case 4:
        dicom_mend_add_item(set, place.item, place.tag, &added);
        if (added != nullptr) {
            dicom_mend_set_text(set, added, Tags[0], vr, value.data(), value.size());
        }
        break;
    default:
        while (dicom_mend_remove(set, place.item, place.tag) == DICOM_MEND_OK) {
        }
        Require(dicom_mend_find(set, place.item, place.tag) == nullptr, "what is removed is gone");
    }
}

void Look_At_Findings(dicom_mend_session* session)
{
    std::size_t count = 0;
    for (auto* finding = dicom_mend_first_finding(session); finding != nullptr;
         finding = dicom_mend_next_finding(session, finding)) {
        std::uint32_t tag = 0;
        const bool has_path = *dicom_mend_finding_path(finding) != '\0';
        Require(has_path == (dicom_mend_finding_tag(finding, &tag) != 0), "a path has a tag");
        Require(*dicom_mend_finding_message(finding) != '\0', "a finding says what is wrong");
        ++count;
    }
    Require(count == dicom_mend_finding_count(session), "findings are counted");
    for (const int format : {DICOM_MEND_TEXT, DICOM_MEND_JSON, DICOM_MEND_SARIF}) {
        char* text = nullptr;
        std::size_t size = 0;
        Require(dicom_mend_report(session, "file", format, 1, &text, &size) == DICOM_MEND_OK,
                "findings are reported");
        dicom_mend_free(text);
    }
}

void To_JSON_And_Back(dicom_mend_session* session, const dicom_mend_dataset* set)
{
    char* text = nullptr;
    std::size_t size = 0;
    if (dicom_mend_to_json(session, set, 0, &text, &size) == DICOM_MEND_OK) {
        dicom_mend_dataset* back = nullptr;
        Require(dicom_mend_from_json(session, text, size, &back) == DICOM_MEND_OK,
                "JSON that was written is read");
        dicom_mend_dataset_free(back);
    }
    dicom_mend_free(text);
}

std::string Encoded(dicom_mend_session* session, const dicom_mend_dataset* set)
{
    unsigned char* bytes = nullptr;
    std::size_t size = 0;
    dicom_mend_encode(session, set, &bytes, &size);
    std::string file(reinterpret_cast<const char*>(bytes), size);
    dicom_mend_free(bytes);
    return file;
}

Session Opened(std::uint8_t flags, std::uint8_t kind)
{
    constexpr const char* Character_Sets[] = {"", "ISO_IR 100", "ISO_IR 192", "\\ISO 2022 IR 87"};
    Session session(dicom_mend_session_new());
    for (int flag = DICOM_MEND_STRICT; flag <= DICOM_MEND_DEFINED_LENGTHS; ++flag) {
        dicom_mend_set_flag(session.get(), flag, flags >> (flag - 1) & 1);
    }
    dicom_mend_set_syntax(session.get(), kind & 3);
    dicom_mend_set_charset(session.get(), Character_Sets[kind >> 2 & 3]);
    return session;
}

Dataset Read(dicom_mend_session* session, std::span<const unsigned char> bytes, bool is_json)
{
    dicom_mend_dataset* set = nullptr;
    if (is_json) {
        const std::string text(bytes.begin(), bytes.end());
        dicom_mend_from_json(session, text.c_str(), text.size(), &set);
    } else {
        dicom_mend_read_buffer(session, bytes.data(), bytes.size(), &set);
    }
    return Dataset(set);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const std::uint8_t flags = input.Byte();
    const std::uint8_t kind = input.Byte();
    std::array<Change, 3> changes = {};
    for (Change& change : changes) {
        change = {input.Byte(), input.Byte(), input.Byte(), input.Byte()};
    }
    const Session session = Opened(flags, kind);
    const Dataset set = Read(session.get(), input.Rest(), (kind & 16) != 0);
    if (set == nullptr) {
        return 0;
    }
    for (const Change& change : changes) {
        Make(change, set.get());
    }
    To_JSON_And_Back(session.get(), set.get());
    dicom_mend_check(session.get(), set.get(), (kind & 32) != 0 ? "auto" : nullptr);
    dicom_mend_mend(session.get(), set.get());
    dicom_mend_dataset* copy = nullptr;
    dicom_mend_dataset_copy(session.get(), set.get(), &copy);
    const Dataset owner(copy);
    const std::string file = Encoded(session.get(), set.get());
    Require(file == Encoded(session.get(), set.get()), "the same bytes are encoded again");
    Require(file == Encoded(session.get(), copy), "a copy is encoded to the same bytes");
    dicom_mend_undo(session.get(), copy);
    Walk(copy);
    Walk(set.get());
    Look_At_Findings(session.get());
    return 0;
}
