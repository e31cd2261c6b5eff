// What the C interface is called with that makes no sense: each call says so by its status, hands out null
// or 0, and changes nothing.
#include <Lib_DICOM_Mend/dicom_mend.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

namespace {

/** What calls hand out, with something in it that has to go. */
struct Out {
    static inline char something[1];
    dicom_mend_dataset* set = reinterpret_cast<dicom_mend_dataset*>(something);
    unsigned char* bytes = reinterpret_cast<unsigned char*>(something);
    char* text = something;
    const dicom_mend_element* element = reinterpret_cast<const dicom_mend_element*>(something);
    const dicom_mend_item* item = reinterpret_cast<const dicom_mend_item*>(something);
    std::size_t size = 1;
    double real = 1;
    int64_t whole = 1;
    uint32_t tag = 1;
    char buffer[4] = "###";

    /** Each member is as it was, or null or 0. */
    bool Is_Empty() const
    {
        const Out old;
        const auto gone = [](auto now, auto before) {
            return now == before || now == 0;
        };
        const auto none = [](const auto* now, const auto* before) {
            return now == before || now == nullptr;
        };
        return none(set, old.set) && none(bytes, old.bytes) && none(text, old.text) &&
               none(element, old.element) && none(item, old.item) && gone(size, old.size) &&
               gone(real, old.real) && gone(whole, old.whole) && gone(tag, old.tag) &&
               (buffer[0] == '#' || buffer[0] == '\0');
    }
    bool Is_Untouched() const
    {
        const Out old;
        return std::memcmp(this, &old, sizeof old) == 0;
    }
};

/** A data set with a name, a number, and a sequence of an item. */
class Misuse : public testing::Test {
protected:
    Misuse() : session(dicom_mend_session_new())
    {
        constexpr unsigned char one = 1;
        dicom_mend_dataset_new(session, &set);
        dicom_mend_set_text(set, nullptr, Name, nullptr, "Doe", 3);
        dicom_mend_set_text(set, nullptr, Rows, nullptr, "512", 3);
        dicom_mend_set_bytes(set, nullptr, Unknown, "UN", &one, 1);
        dicom_mend_add_item(set, nullptr, Sequence, &item);
        name = dicom_mend_find(set, nullptr, Name);
        rows = dicom_mend_find(set, nullptr, Rows);
    }
    ~Misuse() override
    {
        dicom_mend_dataset_free(set);
        dicom_mend_session_free(session);
    }

    static constexpr uint32_t Unknown = 0x00091001;
    static constexpr uint32_t Name = 0x00100010;
    static constexpr uint32_t Rows = 0x00280010;
    static constexpr uint32_t Sequence = 0x00400275;
    dicom_mend_session* session;
    dicom_mend_dataset* set = nullptr;
    const dicom_mend_item* item = nullptr;
    const dicom_mend_element* name = nullptr;
    const dicom_mend_element* rows = nullptr;
};

TEST_F(Misuse, IsToldByTheStatus)
{
    const unsigned char junk[] = "no DICOM file";
    const std::string deep(200'000, '[');
    const std::string steps = [] {
        std::string path;
        for (int i = 0; i < 10'000; ++i) {
            path += "0040,0275[0]/";
        }
        return path + "0010,0010";
    }();
    using Call = std::function<dicom_mend_status(Out&)>;
    struct Row {
        const char* what;
        dicom_mend_status status;
        Call call;
        bool hands_out = true;
    };
    constexpr dicom_mend_status Bad = DICOM_MEND_BAD_ARGUMENT;
    constexpr dicom_mend_status None = DICOM_MEND_NOT_FOUND;
    constexpr dicom_mend_status Wrong = DICOM_MEND_BAD_VALUE;
    auto* const s = session;
    auto* const d = set;
    const auto* const n = name;
    const auto* const r = rows;
    dicom_mend_dataset* empty = nullptr;
    dicom_mend_dataset_new(session, &empty);
    // clang-format off
    const Row Table[] = {
        {"options without a session", Bad, [](Out&) { return dicom_mend_set_flag(nullptr, DICOM_MEND_STRICT, 1); }, false},
        {"no such flag", Bad, [=](Out&) { return dicom_mend_set_flag(s, 99, 1); }, false},
        {"flag 0", Bad, [=](Out&) { return dicom_mend_set_flag(s, 0, 1); }, false},
        {"no such syntax", Bad, [=](Out&) { return dicom_mend_set_syntax(s, 4); }, false},
        {"a negative syntax", Bad, [=](Out&) { return dicom_mend_set_syntax(s, -1); }, false},
        {"no such character set", Bad, [=](Out&) { return dicom_mend_set_charset(s, "KLINGON"); }, false},
        {"no character set", Bad, [=](Out&) { return dicom_mend_set_charset(s, nullptr); }, false},
        {"reading without a session", Bad, [](Out& o) { return dicom_mend_read_file(nullptr, "x", &o.set); }},
        {"reading no path", Bad, [=](Out& o) { return dicom_mend_read_file(s, nullptr, &o.set); }},
        {"reading a folder", DICOM_MEND_CANNOT_READ, [=](Out& o) { return dicom_mend_read_file(s, "/", &o.set); }},
        {"reading a file that is not there", DICOM_MEND_CANNOT_READ, [=](Out& o) { return dicom_mend_read_file(s, "/no/such/file", &o.set); }},
        {"reading no bytes", Bad, [=](Out& o) { return dicom_mend_read_buffer(s, nullptr, 1, &o.set); }},
        {"reading 0 bytes", DICOM_MEND_NOT_DICOM, [=](Out& o) { return dicom_mend_read_buffer(s, nullptr, 0, &o.set); }},
        {"reading junk", DICOM_MEND_NOT_DICOM, [=](Out& o) { return dicom_mend_read_buffer(s, junk, sizeof junk, &o.set); }},
        {"a data set without a session", Bad, [](Out& o) { return dicom_mend_dataset_new(nullptr, &o.set); }},
        {"copying none", Bad, [=](Out& o) { return dicom_mend_dataset_copy(s, nullptr, &o.set); }},
        {"encoding none", Bad, [=](Out& o) { return dicom_mend_encode(s, nullptr, &o.bytes, &o.size); }},
        {"encoding nothing", DICOM_MEND_NO_OUTPUT, [=](Out& o) { return dicom_mend_encode(s, empty, &o.bytes, &o.size); }},
        {"mending no bytes", Bad, [=](Out& o) { return dicom_mend_mend_buffer(s, nullptr, 1, &o.bytes, &o.size); }},
        {"mending junk", DICOM_MEND_NOT_DICOM, [=](Out& o) { return dicom_mend_mend_buffer(s, junk, sizeof junk, &o.bytes, &o.size); }},
        {"JSON of none", Bad, [=](Out& o) { return dicom_mend_to_json(s, nullptr, 0, &o.text, &o.size); }},
        {"no JSON", Bad, [=](Out& o) { return dicom_mend_from_json(s, nullptr, 0, &o.set); }},
        {"empty JSON", DICOM_MEND_BAD_JSON, [=](Out& o) { return dicom_mend_from_json(s, "", 0, &o.set); }},
        {"deep JSON", DICOM_MEND_BAD_JSON, [&, s](Out& o) { return dicom_mend_from_json(s, deep.data(), deep.size(), &o.set); }},
        {"a report without a name", Bad, [=](Out& o) { return dicom_mend_report(s, nullptr, DICOM_MEND_TEXT, 0, &o.text, &o.size); }},
        {"a report in no form", Bad, [=](Out& o) { return dicom_mend_report(s, "x", 3, 0, &o.text, &o.size); }},
        {"finding without a path", Bad, [=](Out& o) { return dicom_mend_find_path(d, nullptr, &o.element, &o.item); }},
        {"finding in none", Bad, [](Out& o) { return dicom_mend_find_path(nullptr, "PatientName", &o.element, &o.item); }},
        {"no path", Bad, [=](Out& o) { return dicom_mend_find_path(d, "0040,0275[-1]/0010,0010", &o.element, &o.item); }},
        {"a long path", None, [&, d](Out& o) { return dicom_mend_find_path(d, steps.c_str(), &o.element, &o.item); }},
        {"bytes of none", Bad, [=](Out& o) { return dicom_mend_get_bytes(d, nullptr, 0, nullptr, 0, &o.size); }},
        {"bytes without room", Bad, [=](Out& o) { return dicom_mend_get_bytes(d, n, 0, nullptr, 3, &o.size); }},
        {"text of none", Bad, [=](Out& o) { return dicom_mend_get_text(d, nullptr, 0, o.buffer, 4, &o.size); }},
        {"text behind the last", None, [=](Out& o) { return dicom_mend_get_text(d, n, 1, o.buffer, 4, &o.size); }},
        {"text at the end of numbers", None, [=](Out& o) { return dicom_mend_get_text(d, n, SIZE_MAX, o.buffer, 4, &o.size); }},
        {"number of a name", Wrong, [=](Out& o) { return dicom_mend_get_double(d, n, 0, &o.real); }},
        {"number behind the last", Wrong, [=](Out& o) { return dicom_mend_get_int(d, r, SIZE_MAX / 2 + 1, &o.whole); }},
        {"number of none", Bad, [=](Out& o) { return dicom_mend_get_int(d, nullptr, 0, &o.whole); }},
        {"setting in none", Bad, [](Out&) { return dicom_mend_set_text(nullptr, nullptr, Name, nullptr, "x", 1); }, false},
        {"setting no text", Bad, [=](Out&) { return dicom_mend_set_text(d, nullptr, Name, nullptr, nullptr, 1); }, false},
        {"setting no bytes", Bad, [=](Out&) { return dicom_mend_set_bytes(d, nullptr, Name, nullptr, nullptr, 1); }, false},
        {"setting no numbers", Bad, [=](Out&) { return dicom_mend_set_doubles(d, nullptr, Rows, nullptr, nullptr, 1); }, false},
        {"no such VR", Bad, [=](Out&) { return dicom_mend_set_text(d, nullptr, Name, "XX", "x", 1); }, false},
        {"half a VR", Bad, [=](Out&) { return dicom_mend_set_text(d, nullptr, Name, "L", "x", 1); }, false},
        {"a private element without a VR", Bad, [=](Out&) { return dicom_mend_set_text(d, nullptr, 0x00091002, nullptr, "x", 1); }, false},
        {"an item as an element", Bad, [=](Out&) { return dicom_mend_set_text(d, nullptr, 0xFFFEE000, "LO", "x", 1); }, false},
        {"a text for a sequence", Bad, [=](Out&) { return dicom_mend_set_text(d, nullptr, Sequence, nullptr, "x", 1); }, false},
        {"no number", Wrong, [=](Out&) { return dicom_mend_set_text(d, nullptr, Rows, nullptr, "1x", 2); }, false},
        {"no UTF-8", Wrong, [=](Out&) { return dicom_mend_set_text(d, nullptr, Name, nullptr, "\xFF", 1); }, false},
        {"an item of a delimiter", Bad, [=](Out& o) { return dicom_mend_add_item(d, nullptr, 0xFFFEE0DD, &o.item); }},
        {"an item of a name", Bad, [=](Out& o) { return dicom_mend_add_item(d, nullptr, Name, &o.item); }},
        {"an item of bytes", Bad, [=](Out& o) { return dicom_mend_add_item(d, nullptr, Unknown, &o.item); }},
        {"removing what is not there", None, [=](Out&) { return dicom_mend_remove(d, nullptr, 0x00100020); }, false},
        {"no keyword", None, [](Out& o) { return dicom_mend_parse_tag("patientname", &o.tag); }},
        {"no tag", Bad, [](Out& o) { return dicom_mend_parse_tag(nullptr, &o.tag); }},
        {"mending none", Bad, [=](Out&) { return dicom_mend_mend(s, nullptr); }, false},
        {"checking none", Bad, [=](Out&) { return dicom_mend_check(s, nullptr, nullptr); }, false},
        {"completing by nothing", Bad, [=](Out&) { return dicom_mend_complete(s, d, nullptr, nullptr); }, false},
        {"undoing nothing", None, [=](Out&) { return dicom_mend_undo(s, d); }, false},
        {"writing nowhere", Bad, [=](Out&) { return dicom_mend_write_file(s, d, nullptr, 0); }, false},
        {"writing into no folder", DICOM_MEND_CANNOT_WRITE, [=](Out&) { return dicom_mend_write_file(s, d, "/no/such/folder/x", 1); }, false},
        {"mending a file into itself", DICOM_MEND_CANNOT_WRITE, [=](Out&) { return dicom_mend_mend_file(s, DAMAGED_FILE, DAMAGED_FILE, 1); }, false},
    };
    // clang-format on
    const auto state = [&] {
        std::string text;
        for (const auto* e = dicom_mend_first(set, nullptr); e != nullptr; e = dicom_mend_next(e)) {
            text += std::to_string(dicom_mend_tag(e)) + ' ' + std::to_string(dicom_mend_length(e)) +
                    ' ' + std::to_string(dicom_mend_item_count(e)) + '\n';
        }
        return text;
    };
    const std::string before = state();
    for (const Row& row : Table) {
        Out out;
        EXPECT_EQ(row.call(out), row.status) << row.what;
        EXPECT_EQ(out.Is_Untouched(), !row.hands_out) << row.what;
        EXPECT_TRUE(out.Is_Empty()) << row.what;
        EXPECT_EQ(state(), before) << row.what;
    }
    dicom_mend_dataset_free(empty);
}

TEST_F(Misuse, OfNothingFindsNothing)
{
    size_t size = 1;
    char vr[3] = "##";
    EXPECT_EQ(dicom_mend_first(nullptr, nullptr), nullptr);
    EXPECT_EQ(dicom_mend_first_meta(nullptr), nullptr);
    EXPECT_EQ(dicom_mend_next(nullptr), nullptr);
    EXPECT_EQ(dicom_mend_find(nullptr, nullptr, Name), nullptr);
    EXPECT_EQ(dicom_mend_tag(nullptr), 0U);
    dicom_mend_vr(nullptr, nullptr);
    dicom_mend_vr(nullptr, vr);
    EXPECT_STREQ(vr, "");
    EXPECT_EQ(dicom_mend_length(nullptr), 0U);
    EXPECT_EQ(dicom_mend_offset(nullptr), 0);
    EXPECT_EQ(dicom_mend_is_sequence(nullptr), 0);
    EXPECT_EQ(dicom_mend_item_count(name), 0U);
    EXPECT_EQ(dicom_mend_get_item(name, 0), nullptr);
    EXPECT_EQ(dicom_mend_get_item(dicom_mend_find(set, nullptr, Sequence), 1), nullptr);
    EXPECT_EQ(dicom_mend_fragment_count(nullptr), 0U);
    EXPECT_EQ(dicom_mend_get_fragment(name, 0), nullptr);
    EXPECT_EQ(dicom_mend_value_count(set, nullptr), 0U);
    EXPECT_EQ(dicom_mend_is_harmless(set, nullptr), 0);
    EXPECT_EQ(dicom_mend_first_finding(nullptr), nullptr);
    EXPECT_EQ(dicom_mend_first_finding(session), nullptr);
    EXPECT_EQ(dicom_mend_next_finding(session, nullptr), nullptr);
    EXPECT_EQ(dicom_mend_finding_code(nullptr), -1);
    EXPECT_STREQ(dicom_mend_finding_kind(nullptr), "");
    EXPECT_STREQ(dicom_mend_finding_path(nullptr), "");
    EXPECT_STREQ(dicom_mend_finding_message(nullptr), "");
    EXPECT_EQ(dicom_mend_finding_offset(nullptr), -1);
    EXPECT_EQ(dicom_mend_finding_before(nullptr, &size), nullptr);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(dicom_mend_finding_after(nullptr, nullptr), nullptr);
    EXPECT_EQ(dicom_mend_outcome(nullptr), 0);
    EXPECT_STREQ(dicom_mend_last_error(nullptr), "");
    EXPECT_STREQ(dicom_mend_status_text(-1), "unknown status");
    EXPECT_EQ(dicom_mend_transfer_syntax(nullptr, nullptr, 0), 0U);
    dicom_mend_clear_findings(nullptr);
    dicom_mend_session_free(nullptr);
    dicom_mend_dataset_free(nullptr);
    dicom_mend_free(nullptr);
}

TEST_F(Misuse, FailuresHaveAReasonUntilTheNextCall)
{
    dicom_mend_dataset* out = nullptr;
    EXPECT_STREQ(dicom_mend_last_error(session), "");
    dicom_mend_read_file(session, "/no/such/file", &out);
    EXPECT_STREQ(dicom_mend_last_error(session), "/no/such/file: No such file or directory");
    dicom_mend_read_buffer(session, nullptr, 0, &out);
    EXPECT_STREQ(dicom_mend_last_error(session), "it is no DICOM data set: is empty");
    dicom_mend_set_flag(session, DICOM_MEND_STRICT, 1);
    EXPECT_STREQ(dicom_mend_last_error(session), "");
}

TEST_F(Misuse, FindingsFillTheMembersThatTheCallerKnows)
{
    dicom_mend_dataset* out = nullptr;
    dicom_mend_read_buffer(session, nullptr, 0, &out);
    ASSERT_EQ(dicom_mend_finding_count(session), 1U);
    struct Later {
        dicom_mend_finding_data known;
        unsigned char unknown[8];
    };
    for (const std::size_t size :
         {std::size_t{4}, sizeof(dicom_mend_finding_data), sizeof(Later)}) {
        alignas(Later) unsigned char room[2 * sizeof(Later)];
        std::memset(room, '#', sizeof room);
        auto* const data = reinterpret_cast<dicom_mend_finding_data*>(room);
        EXPECT_EQ(dicom_mend_get_findings(session, 0, data, size, 2), 1U);
        EXPECT_EQ(data->code, dicom_mend_finding_code(dicom_mend_first_finding(session)));
        EXPECT_EQ(room[size], '#') << size;
        if (size > 4) {
            EXPECT_STREQ(data->kind, "not-dicom");
            EXPECT_EQ(data->offset, -1);
        }
        if (size == sizeof(Later)) {
            EXPECT_EQ(room[sizeof(dicom_mend_finding_data)], 0);
        }
    }
    dicom_mend_finding_data data;
    EXPECT_EQ(dicom_mend_get_findings(session, 0, &data, sizeof data, 0), 0U);
    EXPECT_EQ(dicom_mend_get_findings(session, 0, &data, 0, 1), 0U);
    EXPECT_EQ(dicom_mend_get_findings(session, 1, &data, sizeof data, 1), 0U);
    EXPECT_EQ(dicom_mend_get_findings(session, SIZE_MAX, &data, sizeof data, 1), 0U);
    EXPECT_EQ(dicom_mend_get_findings(session, 0, nullptr, sizeof data, 1), 0U);
    EXPECT_EQ(dicom_mend_get_findings(nullptr, 0, &data, sizeof data, 1), 0U);
}

}  // namespace
