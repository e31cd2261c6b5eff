// Data sets as a whole: read, checked, mended, completed, encoded, written.
#include "mend/healing/original_attributes.h"
#include "mend/interface/check.h"
#include "mend/interface/handles.h"
#include "mend/interface/heal.h"
#include "mend/interface/mend.h"
#include "mend/io/safe_file.h"
#include "mend/io/system_files.h"
#include "mend/json/from_json.h"
#include "mend/json/to_json.h"
#include "mend/reading/copy.h"
#include "mend/reading/reader.h"
#include "mend/verify/iod.h"
#include "mend/writing/file_meta.h"

#include <memory>
#include <utility>

namespace lib_mend {

namespace {

using Dataset_Pointer = std::unique_ptr<dicom_mend_dataset>;

std::shared_ptr<Source> Opened(const char* path)
{
    std::string error;
    std::shared_ptr<Source> source = Source::Open(path, error);
    if (source == nullptr) {
        throw Failure{DICOM_MEND_CANNOT_READ, std::string(path) + ": " + error};
    }
    return source;
}

/** What was read, also when it is only a part; a file that is none at all is a failure. */
dicom_mend_status Take(dicom_mend_session& session, const std::shared_ptr<Source>& source,
                       dicom_mend_dataset** out)
{
    auto read = std::make_unique<dicom_mend_dataset>();
    read->set = Read_Data_Set(source, session.findings);
    if (read->set.foreign) {
        return read->set.unreadable ? DICOM_MEND_CANNOT_READ : DICOM_MEND_NOT_DICOM;
    }
    *out = read.release();
    return DICOM_MEND_OK;
}

/** A copy to be healed and written, so that the data set stays as it is. */
Data_Set Working_Copy(const dicom_mend_dataset& data_set)
{
    Data_Set copy = Copy_Of(data_set.set);
    if (data_set.is_made) {
        Findings unheard;
        Complete_Meta(copy, copy.syntax, unheard);
    }
    return copy;
}

void Mend_Into(dicom_mend_session& session, Data_Set& set, Encoded_File& file)
{
    if (!Mend(set, session.options, session.findings, file)) {
        throw Failure{set.foreign ? DICOM_MEND_NOT_DICOM : DICOM_MEND_NO_OUTPUT, {}};
    }
}

void Hand_Out_File(const Encoded_File& file, unsigned char** bytes, size_t* size)
{
    using Memory = std::unique_ptr<unsigned char, void (*)(void*)>;
    auto room = static_cast<std::size_t>(std::max<std::int64_t>(file.Size(), 1));
    Memory memory(static_cast<unsigned char*>(std::malloc(room)), &std::free);
    std::size_t used = 0;
    const bool given = file.Give([&](std::span<const unsigned char> piece) {
        if (used + piece.size() > room) {
            // Only what is deflated is of no known size.
            room = std::max(2 * room, used + piece.size());
            auto* const grown = static_cast<unsigned char*>(std::realloc(memory.get(), room));
            if (grown == nullptr) {
                throw std::bad_alloc();
            }
            static_cast<void>(memory.release());
            memory.reset(grown);
        }
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        std::copy(piece.begin(), piece.end(), memory.get() + used);
        used += piece.size();
        return true;
    });
    if (!given) {
        throw Failure{DICOM_MEND_CANNOT_READ, "the values cannot be read"};
    }
    *bytes = memory.release();
    *size = used;
}

void Write_Out(const Encoded_File& file, const char* path, bool replace)
{
    const std::string error = Write_Safely(
        path, [&](const File_Taker& taker) { return file.Give(taker); }, replace);
    if (!error.empty()) {
        throw Failure{DICOM_MEND_CANNOT_WRITE, std::string(path) + ": " + error};
    }
}

void Refuse_Target(const char* path, bool replace)
{
    const std::string fault = Target_Fault(path, replace);
    if (!fault.empty()) {
        throw Failure{DICOM_MEND_CANNOT_WRITE, std::string(path) + ": " + fault};
    }
}

std::span<const unsigned char> Image(const unsigned char* bytes, size_t size)
{
    return {bytes, bytes != nullptr ? size : 0};
}

}  // namespace

}  // namespace lib_mend

using namespace lib_mend;

dicom_mend_status dicom_mend_read_file(dicom_mend_session* session, const char* path,
                                       dicom_mend_dataset** data_set)
{
    Clear(data_set);
    return With(session, [&] {
        if (path == nullptr || data_set == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        return Take(*session, Opened(path), data_set);
    });
}

dicom_mend_status dicom_mend_read_buffer(dicom_mend_session* session, const unsigned char* bytes,
                                         size_t size, dicom_mend_dataset** data_set)
{
    Clear(data_set);
    return With(session, [&] {
        if ((bytes == nullptr && size != 0) || data_set == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        return Take(*session, Source::From_Bytes(Bytes(bytes, bytes + size), "buffer"), data_set);
    });
}

dicom_mend_status dicom_mend_dataset_new(dicom_mend_session* session, dicom_mend_dataset** data_set)
{
    Clear(data_set);
    return With(session, [&] {
        if (data_set == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        auto made = std::make_unique<dicom_mend_dataset>();
        made->set.source = Source::From_Bytes({}, "new");
        made->set.encoding = Encoding_Of(Explicit_Little_UID);
        made->set.syntax = made->set.declared_syntax = Explicit_Little_UID;
        made->is_made = true;
        *data_set = made.release();
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_dataset_copy(dicom_mend_session* session,
                                          const dicom_mend_dataset* data_set,
                                          dicom_mend_dataset** copy)
{
    Clear(copy);
    return With(session, [&] {
        if (data_set == nullptr || copy == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        auto made = std::make_unique<dicom_mend_dataset>();
        made->set = Copy_Of(data_set->set);
        made->is_made = data_set->is_made;
        *copy = made.release();
        return DICOM_MEND_OK;
    });
}

void dicom_mend_dataset_free(dicom_mend_dataset* data_set)
{
    Guarded([&] {
        delete data_set;
        return DICOM_MEND_OK;
    });
}

size_t dicom_mend_transfer_syntax(const dicom_mend_dataset* data_set, char* buffer, size_t capacity)
{
    return Hand_Out(data_set != nullptr ? data_set->set.syntax : std::string_view(), buffer,
                    capacity);
}

dicom_mend_status dicom_mend_check(dicom_mend_session* session, const dicom_mend_dataset* data_set,
                                   const char* module)
{
    return With(session, [&] {
        if (data_set == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        Data_Set copy = Working_Copy(*data_set);
        Check(copy, session->options.heal, session->findings);
        if (module != nullptr) {
            Verify_IOD(copy, module, session->findings);
        }
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_mend(dicom_mend_session* session, dicom_mend_dataset* data_set)
{
    return With(session, [&] {
        if (data_set == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        data_set->values.Forget();
        Heal(data_set->set, session->options.heal, session->findings);
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_complete(dicom_mend_session* session, dicom_mend_dataset* data_set,
                                      const char* module, const char* rules)
{
    return With(session, [&] {
        if (data_set == nullptr || module == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        // A text without a line end would be the name of a file.
        std::string lines = rules != nullptr && *rules != '\0' ? std::string(rules) + '\n' : "";
        const Override override(lines);
        data_set->values.Forget();
        Heal(data_set->set, session->options.heal, session->findings);
        return Complete_IOD(data_set->set, module, session->findings) ? DICOM_MEND_OK
                                                                      : DICOM_MEND_NOT_FOUND;
    });
}

dicom_mend_status dicom_mend_undo(dicom_mend_session* session, dicom_mend_dataset* data_set)
{
    return With(session, [&] {
        if (data_set == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        data_set->values.Forget();
        return Undo(data_set->set, session->findings) ? DICOM_MEND_OK : DICOM_MEND_NOT_FOUND;
    });
}

dicom_mend_status dicom_mend_encode(dicom_mend_session* session, const dicom_mend_dataset* data_set,
                                    unsigned char** bytes, size_t* size)
{
    Clear(bytes, size);
    return With(session, [&] {
        if (data_set == nullptr || bytes == nullptr || size == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        Data_Set copy = Working_Copy(*data_set);
        Encoded_File file;
        Mend_Into(*session, copy, file);
        Hand_Out_File(file, bytes, size);
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_write_file(dicom_mend_session* session,
                                        const dicom_mend_dataset* data_set, const char* path,
                                        int replace)
{
    return With(session, [&] {
        if (data_set == nullptr || path == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        Refuse_Target(path, replace != 0);
        Data_Set copy = Working_Copy(*data_set);
        Encoded_File file;
        Mend_Into(*session, copy, file);
        Write_Out(file, path, replace != 0);
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_check_file(dicom_mend_session* session, const char* path,
                                        const char* module)
{
    return With(session, [&] {
        if (path == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        Data_Set set = Read_Data_Set(Opened(path), session->findings);
        Check(set, session->options.heal, session->findings);
        if (module != nullptr && !set.foreign) {
            Verify_IOD(set, module, session->findings);
        }
        return set.foreign ? DICOM_MEND_NOT_DICOM : DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_mend_file(dicom_mend_session* session, const char* in, const char* out,
                                       int replace)
{
    return With(session, [&] {
        if (in == nullptr || out == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        if (Is_Same_File(in, out)) {
            throw Failure{DICOM_MEND_CANNOT_WRITE,
                          std::string(out) + ": is the input, which is never overwritten"};
        }
        Refuse_Target(out, replace != 0);
        Data_Set set = Read_Data_Set(Opened(in), session->findings);
        Encoded_File file;
        Mend_Into(*session, set, file);
        Write_Out(file, out, replace != 0);
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_mend_buffer(dicom_mend_session* session, const unsigned char* bytes,
                                         size_t size, unsigned char** mended, size_t* mended_size)
{
    Clear(mended, mended_size);
    return With(session, [&] {
        if ((bytes == nullptr && size != 0) || mended == nullptr || mended_size == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        Data_Set set =
            Read_Data_Set(Source::From_Image(Image(bytes, size), "buffer"), session->findings);
        Encoded_File file;
        Mend_Into(*session, set, file);
        Hand_Out_File(file, mended, mended_size);
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_to_json(dicom_mend_session* session,
                                     const dicom_mend_dataset* data_set, size_t longest_inline,
                                     char** text, size_t* size)
{
    Clear(text, size);
    return With(session, [&] {
        if (data_set == nullptr || text == nullptr || size == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        JSON_Options options;
        options.pretty = false;
        if (longest_inline != 0) {
            options.inline_limit = static_cast<std::int64_t>(longest_inline);
        }
        std::string json;
        const bool whole =
            To_JSON(data_set->set, options, session->findings, [&json](std::string_view piece) {
                json += piece;
                return true;
            });
        if (!whole) {
            return DICOM_MEND_CANNOT_READ;
        }
        *text = Copied_Out<char>(json);
        *size = json.size();
        return DICOM_MEND_OK;
    });
}

dicom_mend_status dicom_mend_from_json(dicom_mend_session* session, const char* text, size_t size,
                                       dicom_mend_dataset** data_set)
{
    Clear(data_set);
    return With(session, [&] {
        if (text == nullptr || data_set == nullptr) {
            return DICOM_MEND_BAD_ARGUMENT;
        }
        auto made = std::make_unique<dicom_mend_dataset>();
        made->set = From_JSON({text, size}, "json", session->findings);
        if (made->set.unreadable) {
            return DICOM_MEND_BAD_JSON;
        }
        made->is_made = true;
        *data_set = made.release();
        return DICOM_MEND_OK;
    });
}
