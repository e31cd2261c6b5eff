#include "mend/json/json_events.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace lib_mend {

namespace {

/** Goes through the text and tells how far the parser is. */
class Counting_Iterator {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    Counting_Iterator() = default;
    Counting_Iterator(const char* place, const char** reached) : place_(place), reached_(reached)
    {
    }
    reference operator*() const
    {
        return *place_;
    }
    Counting_Iterator& operator++()
    {
        ++place_;
        *reached_ = place_;
        return *this;
    }
    Counting_Iterator operator++(int)
    {
        Counting_Iterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const Counting_Iterator& other) const
    {
        return place_ == other.place_;
    }
    bool operator!=(const Counting_Iterator& other) const
    {
        return place_ != other.place_;
    }

private:
    const char* place_ = nullptr;
    const char** reached_ = nullptr;
};

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
    Events_Adapter(std::string_view text, JSON_Events& events)
        : text_(text), events_(events), reached_(text.data())
    {
    }

    const char** Reached()
    {
        return &reached_;
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
        events_.Scalar(JSON_Scalar::String, value, at);
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
        fault = JSON_Fault{std::min(position - std::min<std::size_t>(position, 1), text_.size()),
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
        const std::size_t at = std::min(text_.find_first_not_of(Between, end_), text_.size());
        end_ = static_cast<std::size_t>(reached_ - text_.data()) - ahead;
        return at;
    }
    /** The end of a number is seen only by what follows it. */
    bool Number()
    {
        constexpr std::string_view Letters = "0123456789+-.eE";
        const bool is_end = Letters.find(reached_[-1]) != std::string_view::npos;
        const std::size_t at = Take(is_end ? 0 : 1);
        events_.Scalar(JSON_Scalar::Number, text_.substr(at, end_ - at), at);
        return true;
    }

    std::string_view text_;
    JSON_Events& events_;
    const char* reached_;
    std::size_t end_ = 0;
};

}  // namespace

std::optional<JSON_Fault> Parse_JSON(std::string_view text, JSON_Events& events)
{
    Events_Adapter adapter(text, events);
    const Counting_Iterator begin(text.data(), adapter.Reached());
    const Counting_Iterator end(text.data() + text.size(), adapter.Reached());
    nlohmann::json::sax_parse(begin, end, &adapter);
    return adapter.fault;
}

std::string Text_Places::Line_And_Column(std::size_t at)
{
    at = std::min(at, text_.size());
    const bool is_back = at < at_;
    const std::string_view between =
        is_back ? text_.substr(at, at_ - at) : text_.substr(at_, at - at_);
    const auto lines = static_cast<std::size_t>(std::count(between.begin(), between.end(), '\n'));
    line_ = is_back ? line_ - lines : line_ + lines;
    if (lines > 0) {
        const std::size_t end = text_.substr(0, at).rfind('\n');
        const std::size_t start = end == std::string_view::npos ? 0 : end + 1;
        column_ = 1 + Characters(text_.substr(start, at - start));
    } else {
        column_ = is_back ? column_ - Characters(between) : column_ + Characters(between);
    }
    at_ = at;
    return "line " + std::to_string(line_) + ", column " + std::to_string(column_) + ": ";
}

}  // namespace lib_mend
