// The same bytes as an open file and as a memory image, for tests of everything that reads.
#ifndef TESTS_BYTE_INPUT_H
#define TESTS_BYTE_INPUT_H

#include <Lib_DICOM/read.h>

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

/** Bytes from pairs of hexadecimal digits; anything in quotes stands for itself. */
inline std::string Hex(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\'') {
            const std::size_t end = text.find('\'', i + 1);
            bytes += text.substr(i + 1, end - i - 1);
            i = end;
        } else if (text[i] != ' ') {
            bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
            ++i;
        }
    }
    return bytes;
}

class Byte_Input {
public:
    Byte_Input(int source_, const std::string& bytes)
        : source(source_), image_(bytes.begin(), bytes.end())
    {
        if (source == NEMA_Source_File) {
            where = mkstemp(file_.data());
#ifdef _WIN32
            // What makes it shares it with nobody.
            close(where);
            where = open(file_.c_str(), O_RDWR | O_BINARY);
#else
            unlink(file_.c_str());
            file_ = "/proc/self/fd/" + std::to_string(where);
#endif
            if (write(where, bytes.data(), static_cast<unsigned int>(bytes.size())) !=
                static_cast<ssize_t>(bytes.size())) {
                throw std::runtime_error("no temporary file");
            }
            lseek(where, 0, SEEK_SET);
        } else {
            counter_ = NEMA_Position_New(nullptr);
            where = NEMA_Position_Where(counter_);
        }
    }
    Byte_Input(const Byte_Input&) = delete;
    Byte_Input& operator=(const Byte_Input&) = delete;
    ~Byte_Input()
    {
        if (source == NEMA_Source_File) {
            close(where);
#ifdef _WIN32
            unlink(file_.c_str());
#endif
        }
        NEMA_Position_Free(counter_);
    }
    /** A name by which the file can be opened again. */
    std::wstring Name() const
    {
        return {file_.begin(), file_.end()};
    }

    void* Ptr()
    {
        return source == NEMA_Source_File ? static_cast<void*>(name_)
                                          : static_cast<void*>(image_.data());
    }
    long Position() const
    {
        return source == NEMA_Source_File ? static_cast<long>(lseek(where, 0, SEEK_CUR))
                                          : *counter_;
    }
    void Set_Position(int position)
    {
        if (source == NEMA_Source_File) {
            lseek(where, position, SEEK_SET);
        } else {
            *counter_ = position;
        }
    }

    const int source;
    int where = -1;

private:
    std::string file_ = "/tmp/byte_input_XXXXXX";
    std::vector<char> image_;
    int* counter_ = nullptr;
    wchar_t name_[9] = L"scan.dcm";
};

#endif
