#include "mend/json/json_events.h"

#include "mend/json/base64.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace lib_mend {

namespace {

/** How far the parser is in a text, and what it does not get to see: the inside of a long string. */
struct Reading {
    explicit Reading(const Source& source) : text(source)
    {
    }

    Text_Source text;
    std::size_t reached = 0;
    std::size_t hidden_from = Nothing;
    std::size_t hidden_to = 0;
    /** Bytes that were hidden so far. */
    std::size_t hidden = 0;

    static constexpr std::size_t Nothing = std::string_view::npos;
};

/** Hands the text to the parser. */
class Reading_Iterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = char;

    Reading_Iterator() = default;
    Reading_Iterator(Reading& reading, std::size_t at) : reading_(&reading), at_(at)
    {
    }
    char operator*() const
    {
        return reading_->text.At(at_);
    }
    Reading_Iterator& operator++()
    {
        ++at_;
        if (at_ == reading_->hidden_from) {
            at_ = reading_->hidden_to;
            reading_->hidden += reading_->hidden_to - reading_->hidden_from;
        }
        reading_->reached = at_;
        return *this;
    }
    Reading_Iterator operator++(int)
    {
        Reading_Iterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const Reading_Iterator& other) const
    {
        return at_ == other.at_;
    }
    bool operator!=(const Reading_Iterator& other) const
    {
        return at_ != other.at_;
    }

private:
    Reading* reading_ = nullptr;
    std::size_t at_ = 0;
};

constexpr std::string_view Blanks = " \t\r\n";

/**
 * Decodes a string of base64 from behind its opening quote on, in which a slash may be escaped.
 *
 * @param take  takes what is decoded, piece by piece
 * @return the offset of the closing quote, or nothing where there is anything wrong
 */
template <class Take>
std::optional<std::size_t> Decode_String(Text_Source& text, std::size_t at, Take&& take)
{
    Base64_Decoder decoder;
    Bytes bytes;
    while (true) {
        const std::string_view piece = text.Piece(at, text.Size());
        const std::size_t end = std::min(piece.find_first_of("\"\\"), piece.size());
        if (piece.empty() || !decoder.Put(piece.substr(0, end), bytes)) {
            return std::nullopt;
        }
        at += end;
        if (end < piece.size() && piece[end] == '"') {
            take(bytes);
            return decoder.Is_Whole() ? std::optional(at) : std::nullopt;
        }
        if (end < piece.size()) {
            if (text.At(at + 1) != '/' || !decoder.Put("/", bytes)) {
                return std::nullopt;
            }
            at += 2;
        }
        take(bytes);
        bytes.clear();
    }
}

/**
 * The parser's words without the value that it quotes: "[json.exception.parse_error.101] parse error
 * at line 1, column 2: syntax error while parsing value - invalid literal; last read: '"Doe'".
 */
std::string Reason_Of(std::string text)
{
    const std::size_t quote = text.find("; last read: ");
    const std::size_t behind = quote == std::string::npos ? quote : text.find("; expected ", quote);
    std::string expected = behind == std::string::npos ? std::string() : text.substr(behind);
    text.resize(std::min(quote, text.size()));
    const std::size_t overflow = text.find("number overflow");
    if (overflow != std::string::npos) {
        return "the number is too large";
    }
    const std::size_t reason = text.find(" - ");
    text.erase(0, reason == std::string::npos ? text.find(": ") + 2 : reason + 3);
    return "no JSON: " + text + expected;
}

std::size_t Characters(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
    }));
}

/** Hands the parser's events on, each with the place of its first byte. */
class Events_Adapter : public nlohmann::json_sax<nlohmann::json> {
public:
    Events_Adapter(Reading& reading, JSON_Events& events) : reading_(reading), events_(events)
    {
    }

    std::optional<JSON_Fault> fault;

    bool null() override
    {
        const std::size_t at = Take(0);
        events_.Scalar(JSON_Scalar::Null, {}, at);
        return true;
    }
    bool boolean(bool) override
    {
        const std::size_t at = Take(0);
        events_.Scalar(JSON_Scalar::Boolean, {}, at);
        return true;
    }
    bool number_integer(number_integer_t) override
    {
        return Number();
    }
    bool number_unsigned(number_unsigned_t) override
    {
        return Number();
    }
    bool number_float(number_float_t, const string_t&) override
    {
        return Number();
    }
    bool string(string_t& value) override
    {
        const std::size_t at = Take(0);
        if (reading_.hidden_from != Reading::Nothing) {
            Decode_String(
                reading_.text, reading_.hidden_from,
                [this](std::span<const unsigned char> bytes) { events_.Put_Bytes(bytes); });
            reading_.hidden_from = Reading::Nothing;
            events_.End_Bytes(at);
        } else {
            events_.Scalar(JSON_Scalar::String, value, at);
        }
        return true;
    }
    bool binary(binary_t&) override
    {
        return false;
    }
    bool key(string_t& name) override
    {
        const std::size_t at = Take(0);
        events_.Key(name, at);
        if (events_.Takes_Bytes()) {
            Hide_Bytes();
        }
        return true;
    }
    bool start_object(std::size_t) override
    {
        const std::size_t at = Take(0);
        events_.Begin_Object(at);
        return true;
    }
    bool end_object() override
    {
        Take(0);
        events_.End_Object();
        return true;
    }
    bool start_array(std::size_t) override
    {
        const std::size_t at = Take(0);
        events_.Begin_Array(at);
        return true;
    }
    bool end_array() override
    {
        Take(0);
        events_.End_Array();
        return true;
    }
    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception& error) override
    {
        position += reading_.hidden;
        fault = JSON_Fault{
            std::min(position - std::min<std::size_t>(position, 1), reading_.text.Size()),
            Reason_Of(error.what())};
        return false;
    }

private:
    /**
     * Where the piece begins that the parser has read to its end: behind the one before, and what
     * separates them.
     *
     * @param ahead  bytes that were read behind the piece
     */
    std::size_t Take(std::size_t ahead)
    {
        constexpr std::string_view Between = " \t\r\n,:\xEF\xBB\xBF";
        const std::size_t at = reading_.text.Behind(end_, Between);
        end_ = reading_.reached - ahead;
        return at;
    }
    /** The end of a number is seen only by what follows it. */
    bool Number()
    {
        constexpr std::string_view Letters = "0123456789+-.eE";
        const char last = reading_.text.At(reading_.reached - 1);
        const std::size_t at = Take(Letters.find(last) != Letters.npos ? 0 : 1);
        events_.Scalar(JSON_Scalar::Number, reading_.text.Between(at, end_), at);
        return true;
    }
    /** The parser would hold a whole string, and twice that while it grows. */
    void Hide_Bytes()
    {
        constexpr std::size_t Long = std::size_t{1} << 16;
        Text_Source& text = reading_.text;
        const std::size_t colon = text.Behind(reading_.reached, Blanks);
        const std::size_t quote = text.Behind(colon + 1, Blanks);
        if (text.At(colon) != ':' || text.At(quote) != '"' ||
            text.Between(quote + 1, quote + 1 + Long).find('"') != std::string::npos) {
            return;
        }
        const auto end = Decode_String(text, quote + 1, [](std::span<const unsigned char>) {});
        if (end) {
            reading_.hidden_from = quote + 1;
            reading_.hidden_to = *end;
        }
    }

    Reading& reading_;
    JSON_Events& events_;
    std::size_t end_ = 0;
};

}  // namespace

std::optional<JSON_Fault> Parse_JSON(const Source& source, JSON_Events& events)
{
    Reading reading(source);
    Events_Adapter adapter(reading, events);
    nlohmann::json::sax_parse(Reading_Iterator(reading, 0),
                              Reading_Iterator(reading, reading.text.Size()), &adapter);
    return adapter.fault;
}

/** Moves on by a piece of the text. */
void Text_Places::Pass(std::string_view piece)
{
    const std::size_t end = piece.rfind('\n');
    if (end != piece.npos) {
        line_ += static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '\n'));
        column_ = 1;
        piece.remove_prefix(end + 1);
    }
    column_ += Characters(piece);
}

/** Goes back to the start of the line of an offset. */
void Text_Places::Go_Back(std::size_t at)
{
    constexpr std::size_t Step = 4096;
    std::size_t start = at;
    while (start > 0) {
        const std::size_t from = start - std::min(start, Step);
        const std::size_t end = text_.Between(from, start).rfind('\n');
        if (end != std::string::npos) {
            start = from + end + 1;
            break;
        }
        start = from;
    }
    for (std::size_t from = start; from < at_;) {
        const std::string_view piece = text_.Piece(from, at_);
        if (piece.empty()) {
            break;
        }
        line_ -= static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '\n'));
        from += piece.size();
    }
    column_ = 1;
    at_ = start;
}

std::string Text_Places::Line_And_Column(std::size_t at)
{
    at = std::min(at, text_.Size());
    if (at < at_) {
        Go_Back(at);
    }
    while (at_ < at) {
        const std::string_view piece = text_.Piece(at_, at);
        if (piece.empty()) {
            break;
        }
        Pass(piece);
        at_ += piece.size();
    }
    return "line " + std::to_string(line_) + ", column " + std::to_string(column_) + ": ";
}

}  // namespace lib_mend
