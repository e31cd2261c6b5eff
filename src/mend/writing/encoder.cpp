#include "mend/writing/encoder.h"

#include "mend/reading/tree.h"
#include "mend/writing/value_form.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

namespace lib_mend {

namespace {

constexpr unsigned short Padding_Group = 0xFFFC;

constexpr std::int64_t Undefined = 0xFFFFFFFF;
constexpr std::int64_t Group_Length_Size = 4;

/** Groups that do not belong in a data set get no length that would not belong there either. */
bool May_Have_Length(unsigned short group)
{
    constexpr unsigned short Meta_Group = 0x0002;
    constexpr unsigned short Directory_Group = 0x0004;
    constexpr unsigned short First_Group_Of_Data = 0x0008;
    return group == Meta_Group || group == Directory_Group ||
           (group >= First_Group_Of_Data && group != Padding_Group);
}

/** A slot that holds nothing but the end of its sequence is no item. */
bool Is_Item(const DICOM_List* list)
{
    return list != nullptr && (!Is_Delimiter(*list) || Tag_Of(*list) == Item_Tag);
}

/**
 * Goes through a tree in the order of the output, with a stack of its own. `Visitor` has
 * Group_Length, Value, Fragments, Begin_Sequence, End_Sequence, Begin_Item and End_Item.
 */
template <class Visitor>
class Traversal {
public:
    Traversal(const Encoder_Options& options, Visitor& visitor)
        : options_(options), visitor_(visitor)
    {
    }

    void Run(const DICOM_List* list)
    {
        levels_.push_back({list, nullptr, 0, No_Group});
        while (true) {
            Level& level = levels_.back();
            if (level.next != nullptr) {
                const DICOM_List& record = *level.next;
                level.next = record.next;
                Take(record, level);
            } else if (levels_.size() == 1) {
                return;
            } else {
                const Level done = level;
                levels_.pop_back();
                visitor_.End_Item();
                Enter_Item(*done.sequence, done.item + 1);
            }
        }
    }

private:
    static constexpr unsigned int No_Group = 0x10000;

    struct Level {
        const DICOM_List* next;
        const DICOM_List* sequence;
        int item;
        unsigned int group;
    };

    void Take(const DICOM_List& record, Level& level)
    {
        if (Is_Delimiter(record)) {
            return;
        }
        if (record.group != level.group) {
            level.group = record.group;
            const bool is_wanted = options_.group_lengths && levels_.size() == 1 &&
                                   May_Have_Length(record.group) && record.element != 0x0000;
            if (is_wanted || Is_Group_Length(record)) {
                visitor_.Group_Length(record.group);
            } else {
                visitor_.No_Group_Length();
            }
            if (Is_Group_Length(record)) {
                return;
            }
        }
        if (Holds_Fragments(record)) {
            visitor_.Fragments(record);
        } else if (Holds_Items(record)) {
            visitor_.Begin_Sequence(record);
            Enter_Item(record, 0);
        } else {
            visitor_.Value(record);
        }
    }

    void Enter_Item(const DICOM_List& sequence, int item)
    {
        while (Item_Of(sequence, item) != nullptr && !Is_Item(Item_Of(sequence, item))) {
            ++item;
        }
        const DICOM_List* const list = Item_Of(sequence, item);
        if (list == nullptr) {
            visitor_.End_Sequence(sequence);
            return;
        }
        visitor_.Begin_Item(*list, levels_.size() == 1);
        levels_.push_back({list, &sequence, item, No_Group});
    }

    const Encoder_Options& options_;
    Visitor& visitor_;
    std::vector<Level> levels_;
};

/** The lengths that stand in headers, in the order in which the headers stand in the output. */
struct Lengths {
    /** Of the contents of sequences and items. */
    std::vector<std::int64_t> containers;
    /** Of what follows each group length. */
    std::vector<std::int64_t> groups;
};

/** Readers take anything in the place of a private creator, or beside pixel data, for a value. */
bool Is_Place_Of_Value(const DICOM_List& record)
{
    constexpr unsigned short First_Creator = 0x0010;
    constexpr unsigned short Last_Creator = 0x00FF;
    return record.group == Pixel_Data_Tag.group ||
           (record.group % 2 != 0 && record.element >= First_Creator &&
            record.element <= Last_Creator);
}

/** With a length and without a VR, items are seen where the registry has a sequence, or nothing. */
bool Has_Length(const DICOM_List& sequence, const Encoder_Options& options)
{
    const bool shows =
        sequence.dict != nullptr ? sequence.dict->vr[0] == VR_SQ : !Is_Place_Of_Value(sequence);
    return options.defined_lengths && (options.encoding.explicit_vr || shows);
}

/** Sums up the lengths from the innermost items outwards. */
class Measure {
public:
    Measure(const Encoder_Options& options, Lengths& lengths) : options_(options), lengths_(lengths)
    {
        lists_.push_back(Not_Counted);
    }

    void Group_Length(unsigned short)
    {
        // It does not count itself.
        lists_.back() = Not_Counted;
        Add(Header_Size(false, options_.encoding) + Group_Length_Size);
        lists_.back() = lengths_.groups.size();
        lengths_.groups.push_back(0);
    }
    void No_Group_Length()
    {
        lists_.back() = Not_Counted;
    }
    void Value(const DICOM_List& record)
    {
        const Value_Form form = Value_Form_Of(record, options_.encoding);
        Add(Header_Size(form.is_long, options_.encoding) + Even(form.size));
    }
    void Fragments(const DICOM_List& record)
    {
        std::int64_t size = Header_Size(true, options_.encoding) + Item_Header_Size;
        For_Each_Fragment(record, [&](const DICOM_List& fragment) {
            size += Item_Header_Size + Even(std::max<std::int64_t>(Size_Of(fragment), 0));
        });
        Add(size);
    }
    void Begin_Sequence(const DICOM_List&)
    {
        Open();
    }
    void End_Sequence(const DICOM_List& record)
    {
        Add(Header_Size(true, options_.encoding) + Close(Has_Length(record, options_)));
    }
    void Begin_Item(const DICOM_List&, bool)
    {
        Open();
        lists_.push_back(Not_Counted);
    }
    void End_Item()
    {
        lists_.pop_back();
        const std::int64_t size = Item_Header_Size + Close(options_.defined_lengths);
        lengths_.containers[open_.back()] += size;
    }

private:
    static constexpr std::size_t Not_Counted = SIZE_MAX;

    void Open()
    {
        open_.push_back(lengths_.containers.size());
        lengths_.containers.push_back(0);
    }
    /** The size of the innermost contents, with what closes them. */
    std::int64_t Close(bool may_be_defined)
    {
        const std::int64_t size = lengths_.containers[open_.back()];
        const bool is_defined = may_be_defined && size < Undefined;
        open_.pop_back();
        return size + (is_defined ? 0 : Item_Header_Size);
    }
    /** Counts an element for the item and for the group that it stands in. */
    void Add(std::int64_t size)
    {
        if (!open_.empty()) {
            lengths_.containers[open_.back()] += size;
        }
        if (lists_.back() != Not_Counted) {
            lengths_.groups[lists_.back()] += size;
        }
    }

    const Encoder_Options& options_;
    Lengths& lengths_;
    std::vector<std::size_t> open_;
    /** The group length that counts what is added to each open list. */
    std::vector<std::size_t> lists_;
};

/** What is written, and where it goes. */
struct Job {
    const std::shared_ptr<Source>& source;
    const DICOM_List* list;
    const Encoder_Options& options;
    Output* out;
    Item_Places* places;
};

/** Writes, and measures once a length is asked for: most files are written without any. */
class Writer {
public:
    explicit Writer(const Job& job)
        : source_(job.source), list_(job.list), options_(job.options),
          code_(job.options.encoding.Code()), out_(job.out), places_(job.places)
    {
    }

    void Group_Length(unsigned short group)
    {
        const std::int64_t length = Measured().groups[group_++];
        Header({group, 0x0000}, VR_UL, false, Group_Length_Size);
        Int(std::min(length, Undefined));
    }
    void No_Group_Length()
    {
    }
    void Value(const DICOM_List& record)
    {
        const Value_Form form = Value_Form_Of(record, options_.encoding);
        Header(Tag_Of(record), form.vr, form.is_long, Even(form.size));
        Contents(record, form);
    }
    void Fragments(const DICOM_List& record)
    {
        Header(Tag_Of(record), VR_OB, true, Undefined);
        For_Each_Fragment(record, [&](const DICOM_List& fragment) {
            Value_Form form;
            form.size = std::max<std::int64_t>(Size_Of(fragment), 0);
            Item(Item_Tag, Even(form.size));
            Contents(fragment, form);
        });
        Item(Sequence_End_Tag, 0);
    }
    void Begin_Sequence(const DICOM_List& record)
    {
        Header(Tag_Of(record), VR_SQ, true, Open(Has_Length(record, options_)));
    }
    void End_Sequence(const DICOM_List&)
    {
        Close(Sequence_End_Tag);
    }
    void Begin_Item(const DICOM_List& first, bool top_level)
    {
        if (top_level && places_ != nullptr) {
            (*places_)[&first] = position_;
        }
        Item(Item_Tag, Open(options_.defined_lengths));
    }
    void End_Item()
    {
        Close(Item_End_Tag);
    }

private:
    const Lengths& Measured()
    {
        if (!lengths_) {
            lengths_.emplace();
            Measure measure(options_, *lengths_);
            Traversal<Measure>(options_, measure).Run(list_);
        }
        return *lengths_;
    }
    /** The length for the header of a container. */
    std::int64_t Open(bool may_be_defined)
    {
        const std::size_t container = container_++;
        const std::int64_t length = may_be_defined ? Measured().containers[container] : Undefined;
        is_defined_.push_back(length < Undefined);
        return std::min(length, Undefined);
    }
    void Close(Tag delimiter)
    {
        if (!is_defined_.back()) {
            Item(delimiter, 0);
        }
        is_defined_.pop_back();
    }

    void Put(std::span<const unsigned char> bytes)
    {
        if (out_ != nullptr) {
            out_->Put(bytes);
        }
        position_ += std::ssize(bytes);
    }
    void Short(unsigned short value)
    {
        Put({Put_UShort(code_, value), 2});
    }
    void Int(std::int64_t value)
    {
        Put({Put_Int(code_, static_cast<int>(static_cast<std::uint32_t>(value))), 4});
    }
    void Item(Tag tag, std::int64_t length)
    {
        Short(tag.group);
        Short(tag.element);
        Int(length);
    }
    void Header(Tag tag, unsigned short vr, bool is_long, std::int64_t length)
    {
        if (!options_.encoding.explicit_vr) {
            Item(tag, length);
            return;
        }
        Short(tag.group);
        Short(tag.element);
        const std::array<unsigned char, 4> letters = {static_cast<unsigned char>(vr >> 8),
                                                      static_cast<unsigned char>(vr & 0xFF), 0, 0};
        Put({letters.data(), is_long ? letters.size() : 2});
        if (is_long) {
            Int(length);
        } else {
            Short(static_cast<unsigned short>(length));
        }
    }
    void Contents(const DICOM_List& record, const Value_Form& form)
    {
        if (record.data == nullptr) {
            if (out_ != nullptr && form.size > 0) {
                Put_Stored(source_, record, form.width, *out_);
            }
            position_ += form.size;
        } else if (form.width == 1) {
            Put({record.data, static_cast<std::size_t>(form.size)});
        } else {
            Bytes swapped(record.data, record.data + form.size);
            Reverse_Units(swapped, form.width);
            Put(swapped);
        }
        if (form.size % 2 != 0) {
            const auto padding = static_cast<unsigned char>(form.padding);
            Put({&padding, 1});
        }
    }

    const std::shared_ptr<Source>& source_;
    const DICOM_List* list_;
    const Encoder_Options& options_;
    unsigned char code_;
    std::optional<Lengths> lengths_;
    Output* out_;
    Item_Places* places_;
    std::int64_t position_ = 0;
    std::size_t group_ = 0;
    std::size_t container_ = 0;
    std::vector<bool> is_defined_;
};

void Run(const Job& job)
{
    Writer writer(job);
    Traversal<Writer>(job.options, writer).Run(job.list);
}

}  // namespace

void Encode_List(const std::shared_ptr<Source>& source, const DICOM_List* list,
                 const Encoder_Options& options, Output& out)
{
    Run({source, list, options, &out, nullptr});
}

Item_Places Places_Of_Items(const DICOM_List* list, const Encoder_Options& options)
{
    Item_Places places;
    Run({nullptr, list, options, nullptr, &places});
    return places;
}

}  // namespace lib_mend
