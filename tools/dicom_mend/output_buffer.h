// Standard output in large pieces.
#ifndef TOOLS_DICOM_MEND_OUTPUT_BUFFER_H
#define TOOLS_DICOM_MEND_OUTPUT_BUFFER_H

#include <cstdio>
#include <string>
#include <string_view>

namespace dicom_mend {

class Output_Buffer {
public:
    Output_Buffer() = default;
    Output_Buffer(const Output_Buffer&) = delete;
    Output_Buffer& operator=(const Output_Buffer&) = delete;
    ~Output_Buffer()
    {
        Flush();
    }

    /** What is printed next is appended here. */
    std::string& Text()
    {
        return text_;
    }
    /** To be called behind each line. */
    void Line_Done()
    {
        if (text_.size() >= Enough) {
            Flush();
        }
    }
    void Flush()
    {
        std::fwrite(text_.data(), 1, text_.size(), stdout);
        text_.clear();
    }

private:
    static constexpr std::size_t Enough = std::size_t{1} << 16;

    std::string text_;
};

}  // namespace dicom_mend

#endif
