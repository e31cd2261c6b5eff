// Flat lists of records from a compact notation, and nested lists back into one.
#ifndef TESTS_RECORD_BUILDER_H
#define TESTS_RECORD_BUILDER_H

#include <Lib_DICOM/attributes.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <sstream>
#include <string>
#include <utility>

inline void Set_Value(DICOM_List& record, const std::string& value)
{
    std::free(record.data);
    // A block of exactly its size shows what is read or written beyond it.
    record.data = static_cast<unsigned char*>(std::malloc(std::max<std::size_t>(value.size(), 1)));
    std::memcpy(record.data, value.data(), value.size());
    record.size = static_cast<int>(value.size());
}

inline std::string Value_Of(const DICOM_List& record)
{
    return record.data == nullptr ? std::string()
                                  : std::string(reinterpret_cast<const char*>(record.data),
                                                static_cast<std::size_t>(record.size));
}

/**
 * A list with its owner. Records are written as tags with marks behind them, one blank apart:
 * "0008,1140:SQ* FFFE,E000#20 0010,0010~PN=A_B !1000" where
 *     :VR explicit VR    ~VR default VR    *  undefined length
 *     =x  value, "_" for a blank           #n length of contents that are not in memory
 *     !x  flags, hexadecimal            @x type, "@2C"
 * Positions are those of a stream of 8-byte headers; contents after "#" are the records behind.
 */
class Record_List {
public:
    explicit Record_List(const std::string& notation = "")
    {
        std::istringstream words(notation);
        for (std::string word; words >> word;) {
            Add(word);
        }
    }
    explicit Record_List(DICOM_List* list) : head(list)
    {
    }
    Record_List(const Record_List&) = delete;
    Record_List& operator=(const Record_List&) = delete;
    ~Record_List()
    {
        while (head != nullptr) {
            DICOM_Attribute_Free(nullptr, std::exchange(head, head->next));
        }
    }

    DICOM_List& Add(const std::string& word)
    {
        auto* const record = static_cast<DICOM_List*>(std::calloc(1, sizeof(DICOM_List)));
        const unsigned long group = std::strtoul(word.c_str(), nullptr, 16);
        const unsigned long element = std::strtoul(word.c_str() + 5, nullptr, 16);
        record->group = static_cast<unsigned short>(group);
        record->element = static_cast<unsigned short>(element);
        record->pos = position_;
        record->data_pos = position_ + 8;
        for (std::size_t at = 9; at < word.size();) {
            const std::size_t end = std::min(word.find_first_of(":~*#!=@", at + 1), word.size());
            Mark(*record, word[at], word.substr(at + 1, end - at - 1));
            at = end;
        }
        position_ = record->data_pos +
                    (record->data != nullptr ? static_cast<unsigned int>(record->size) : 0);
        *tail_ = record;
        tail_ = &record->next;
        return *record;
    }

    DICOM_List* head = nullptr;

private:
    static void Mark(DICOM_List& record, char mark, std::string text)
    {
        switch (mark) {
        case ':':
            record.vr = DICOM_VR(text[0], text[1]);
            break;
        case '~':
            record.vr_default = DICOM_VR(text[0], text[1]);
            break;
        case '*':
            record.size = DICOM_Undefined_Length;
            break;
        case '#':
            record.size = std::atoi(text.c_str());
            break;
        case '!':
            record.flags = static_cast<unsigned short>(std::strtoul(text.c_str(), nullptr, 16));
            break;
        case '@':
            record.type = DICOM_VR(text[0], text.size() > 1 ? text[1] : ' ');
            break;
        default:
            std::replace(text.begin(), text.end(), '_', ' ');
            Set_Value(record, text);
        }
    }

    DICOM_List** tail_ = &head;
    unsigned int position_ = 0;
};

/** A list with its records appended one by one, as a reader builds it. */
struct Inserted_List : Record_List {
    explicit Inserted_List(const std::string& notation)
    {
        const Record_List flat(notation);
        for (DICOM_List* record = flat.head; record != nullptr; record = record->next) {
            DICOM_Attribute_Insert(nullptr, &root, &head, record, 0);
        }
    }
    DICOM_Root root = {};
};

/** Gives a record one item for each notation. */
inline void Add_Items(DICOM_List& record, std::initializer_list<std::string> items)
{
    record.vr = VR_SQ;
    record.nb_item = static_cast<int>(items.size());
    record.item = static_cast<DICOM_List**>(std::calloc(items.size(), sizeof(DICOM_List*)));
    DICOM_List** slot = record.item;
    for (const std::string& notation : items) {
        Record_List item(notation);
        for (DICOM_List* inner = item.head; inner != nullptr; inner = inner->next) {
            inner->depth = static_cast<unsigned char>(record.depth + 1);
        }
        *slot++ = std::exchange(item.head, nullptr);
    }
}

/** Sequences (0008,1140) of one item inside each other, and a record at the bottom. */
struct Deep_List : Record_List {
    Deep_List(int levels, const std::string& bottom)
    {
        constexpr char Sequence[] = "0008,1140:SQ*@1!4";
        DICOM_List* record = &Add(Sequence);
        for (; levels > 0; --levels) {
            Add_Items(*record, {levels > 1 ? Sequence : bottom});
            // As deep as the field can tell.
            record->item[0]->depth = static_cast<unsigned char>(std::min(record->depth + 1, 255));
            record = record->item[0];
        }
    }
};

/** Tags of a list, the items of a sequence in brackets behind it: "0008,1140[0008,1150][]". */
inline std::string Tags(const DICOM_List* list)
{
    std::string text;
    for (; list != nullptr; list = list->next) {
        char tag[16];
        std::snprintf(tag, sizeof tag, "%04X,%04X", list->group, list->element);
        text += (text.empty() ? "" : " ") + std::string(tag);
        for (int i = 0; i < list->nb_item && list->item[i] != nullptr; ++i) {
            text += "[" + Tags(list->item[i]) + "]";
        }
    }
    return text;
}

#endif
