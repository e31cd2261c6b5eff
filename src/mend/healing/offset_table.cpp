// The offset tables of encapsulated pixel data, and the number of frames (PS3.5 section A.4).
//
//   FFFE,E000 8  00000000 0000000E     basic offset table: where the first fragment of each frame
//   FFFE,E000 6  xx xx xx xx xx xx     begins, counted from the first fragment's item
//   FFFE,E000 4  yy yy yy yy
//
//   empty          may be so                                            stays
//   wrong          no places of fragments, not ascending, not from 0    rebuilt when the frames can
//   item missing   the first item begins with a frame                   be told, empty otherwise
//   right          but fragments get an even length                     follows them
#include "mend/healing/frame_stream.h"
#include "mend/healing/image.h"
#include "mend/healing/pixel_data.h"
#include "mend/healing/record_building.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

namespace lib_mend {

namespace {

constexpr Tag Extended_Table_Tag = {0x7FE0, 0x0001};
constexpr Tag Extended_Lengths_Tag = {0x7FE0, 0x0002};
constexpr std::size_t Entry_Size = 4;
/** What an entry of the basic table holds. */
constexpr std::int64_t Largest_Offset = 0xFFFFFFFF;
constexpr int Extended_Entry_Size = 8;

using Offsets = std::vector<std::int64_t>;

/** Syntaxes that hold all frames as one stream (PS3.5 sections A.4.5 to A.4.8). */
bool Is_Video(std::string_view syntax)
{
    constexpr std::string_view First = "1.2.840.10008.1.2.4.100";
    constexpr std::string_view Rest = "1.2.840.10008.1.2.4.10";
    return syntax.starts_with(First) ||
           (syntax.starts_with(Rest) && syntax.size() > Rest.size() && syntax[Rest.size()] <= '8');
}

/** Encapsulated pixel data with what is known of its frames. */
class Encapsulated {
public:
    Encapsulated(Data_Set& set, DICOM_List& pixels, Findings& findings)
        : set_(set), pixels_(pixels), findings_(findings), fragments_(Fragments_Of(pixels)),
          frames_(Image_Of(set, set.records.Head()).frames)
    {
        Read_Offsets();
    }

    void Heal()
    {
        if (Lacks_Table()) {
            Insert_Table();
        }
        const Offsets frames = Starts_Of_Frames();
        const Offsets table = fragments_.front()->size > 0 ? Healed_Table(frames) : Offsets();
        Heal_Extended_Table();
        Heal_Extended_Lengths();
        Check_Frames(table.empty() ? frames : table);
    }

private:
    std::size_t Count() const
    {
        return fragments_.size() - 1;
    }

    /** The places of the fragments, as they are in the source and as they will be. */
    void Read_Offsets()
    {
        std::int64_t old_offset = 0;
        std::int64_t new_offset = 0;
        old_offsets_.clear();
        new_offsets_.clear();
        for (std::size_t i = 1; i < fragments_.size(); ++i) {
            const std::int64_t size = std::max<std::int64_t>(Size_Of(*fragments_[i]), 0);
            old_offsets_.push_back(old_offset);
            new_offsets_.push_back(new_offset);
            old_offset += Item_Header_Size + size;
            new_offset += Item_Header_Size + size + size % 2;
        }
    }

    bool Is_Start(std::size_t fragment) const
    {
        return Begins_Frame(set_.Value(*fragments_[fragment + 1], 4));
    }

    /** The first item is no table when it begins a frame, as those behind it do. */
    bool Lacks_Table() const
    {
        return Begins_Frame(set_.Value(*fragments_.front(), 4));
    }

    void Insert_Table()
    {
        findings_.Report(Fault::Offset_Table, Level::Change, At(pixels_, {}),
                         "the item of the offset table is missing; an empty one is supplied");
        Record_List table(New_Record(Item_Tag, VR_OB));
        Take_Place(*table.Head(), *fragments_.front());
        std::vector<DICOM_List*> items = {table.Head()};
        items.insert(items.end(), pixels_.item, pixels_.item + Item_Count(pixels_));
        Set_Items(pixels_, items);
        table.Release();
        fragments_ = Fragments_Of(pixels_);
        Read_Offsets();
    }

    Offsets Table() const
    {
        const Bytes value = set_.Value(*fragments_.front());
        Offsets table;
        for (std::size_t at = 0; at + Entry_Size <= value.size(); at += Entry_Size) {
            table.push_back(static_cast<std::uint32_t>(Get_Int(0, value.data() + at)));
        }
        return table;
    }

    /** The fragments that begin frames; none when nothing tells. */
    Offsets Starts_Of_Frames() const
    {
        Offsets starts;
        if (Is_Video(set_.syntax) || Count() == 0) {
            return starts;
        }
        if (frames_ == 1) {
            return {0};
        }
        if (static_cast<std::int64_t>(Count()) == frames_) {
            return new_offsets_;
        }
        for (std::size_t i = 0; i < Count(); ++i) {
            if (Is_Start(i)) {
                starts.push_back(new_offsets_[i]);
            } else if (i == 0) {
                return {};
            }
        }
        return starts;
    }

    /** A table turned into the places that fragments will have; empty when it is wrong. */
    Offsets Moved(const Offsets& table) const
    {
        std::unordered_map<std::int64_t, std::int64_t> moves;
        for (std::size_t i = 0; i < Count(); ++i) {
            moves.emplace(old_offsets_[i], new_offsets_[i]);
        }
        Offsets moved;
        for (const std::int64_t offset : table) {
            const auto move = moves.find(offset);
            const bool ascends = move != moves.end() &&
                                 (moved.empty() ? move->second == 0 : move->second > moved.back());
            if (!ascends) {
                return {};
            }
            moved.push_back(move->second);
        }
        return moved;
    }

    /** The table as it will be; empty when it is wrong, and nothing tells what is right. */
    Offsets Healed_Table(const Offsets& frames)
    {
        const bool is_whole = fragments_.front()->size % static_cast<int>(Entry_Size) == 0;
        const Offsets table = Table();
        Offsets moved = is_whole ? Moved(table) : Offsets();
        const bool tells_frames = static_cast<std::int64_t>(frames.size()) == frames_;
        const bool lacks_frames = tells_frames && frames_ > 1 && moved.size() != frames.size();
        if (!moved.empty() && !lacks_frames) {
            if (moved != table) {
                Set_Table(moved);
            }
            return moved;
        }
        if (!tells_frames) {
            findings_.Report(Fault::Offset_Table, Level::Kept, At(*fragments_.front(), Way()),
                             "the offset table is wrong, and the fragments do not tell the frames");
            return {};
        }
        findings_.Report(Fault::Offset_Table, Level::Change, At(*fragments_.front(), Way()),
                         frames.back() <= Largest_Offset
                             ? "the offset table is wrong; it is made anew from the fragments"
                             : "the offset table is wrong; it is emptied, for 32 bits do not reach "
                               "the frames");
        Set_Table(frames);
        return frames;
    }

    void Set_Table(const Offsets& offsets)
    {
        Bytes value;
        for (const std::int64_t offset : offsets) {
            if (offset > Largest_Offset) {
                // Frames that 32 bits do not reach need an extended table; an empty one is right.
                value.clear();
                break;
            }
            const auto entry = static_cast<int>(static_cast<std::uint32_t>(offset));
            const unsigned char* const bytes = Put_Int(0, entry);
            value.insert(value.end(), bytes, bytes + Entry_Size);
        }
        Set_Bytes(*fragments_.front(), value);
    }

    /** Places in 64 bits, one fragment a frame (PS3.3 section C.7.6.3.1.8). */
    void Heal_Extended_Table()
    {
        DICOM_List* const record = Extended_Record(Extended_Table_Tag);
        if (record == nullptr) {
            return;
        }
        const Offsets table = Numbers_64(set_.Value(*record));
        const Offsets moved = table == new_offsets_ ? table : Moved(table);
        if (std::ssize(moved) != frames_ || record->size % Extended_Entry_Size != 0) {
            Rebuild(*record, new_offsets_, "extended offset table does not fit the fragments");
        } else if (moved != table) {
            Set_Numbers_64(*record, moved);
        }
    }

    /** The bytes of each frame, where the padding may be counted or not. */
    void Heal_Extended_Lengths()
    {
        DICOM_List* const record = Extended_Record(Extended_Lengths_Tag);
        if (record == nullptr) {
            return;
        }
        Offsets lengths;
        for (std::size_t i = 1; i < fragments_.size(); ++i) {
            const std::int64_t size = std::max<std::int64_t>(Size_Of(*fragments_[i]), 0);
            lengths.push_back(size + size % 2);
        }
        const Offsets table = Numbers_64(set_.Value(*record));
        const bool fits = std::equal(lengths.begin(), lengths.end(), table.begin(), table.end(),
                                     [](std::int64_t even, std::int64_t length) {
                                         return length == even || length + 1 == even;
                                     });
        if (!fits || record->size % Extended_Entry_Size != 0) {
            Rebuild(*record, lengths, "lengths of frames do not fit the fragments");
        }
    }

    DICOM_List* Extended_Record(Tag tag) const
    {
        DICOM_List* const record = Find_Record(set_.records.Head(), tag);
        return record != nullptr && Has_Value(*record) && record->size != 0 ? record : nullptr;
    }

    /** Puts right what is one entry a fragment, when each fragment is a frame. */
    void Rebuild(DICOM_List& record, const Offsets& right, const std::string& fault)
    {
        if (std::ssize(right) == frames_) {
            findings_.Report(Fault::Offset_Table, Level::Change, At(record, {}),
                             "the " + fault + "; made anew from them");
            Set_Numbers_64(record, right);
        } else {
            findings_.Report(Fault::Offset_Table, Level::Kept, At(record, {}), "the " + fault);
        }
    }

    static Offsets Numbers_64(const Bytes& value)
    {
        Offsets numbers;
        for (std::size_t at = 0; at + Extended_Entry_Size <= value.size();
             at += Extended_Entry_Size) {
            const auto low = static_cast<std::uint32_t>(Get_Int(0, value.data() + at));
            const auto high = static_cast<std::uint32_t>(Get_Int(0, value.data() + at + 4));
            numbers.push_back(static_cast<std::int64_t>(std::uint64_t{high} << 32 | low));
        }
        return numbers;
    }

    static void Set_Numbers_64(DICOM_List& record, const Offsets& numbers)
    {
        Bytes value(numbers.size() * Extended_Entry_Size);
        unsigned char* entry = value.data();
        for (const std::int64_t number : numbers) {
            const auto low = static_cast<std::uint32_t>(number);
            const auto high = static_cast<std::uint32_t>(number >> 32);
            std::memcpy(entry, Put_Int(0, static_cast<int>(low)), 4);
            std::memcpy(entry + 4, Put_Int(0, static_cast<int>(high)), 4);
            entry += Extended_Entry_Size;
        }
        Set_Bytes(record, value);
    }

    /** @param known  where the frames begin, as far as anything tells */
    void Check_Frames(const Offsets& known)
    {
        if (Is_Video(set_.syntax) || Count() == 0) {
            return;
        }
        const bool differs = !known.empty() && static_cast<std::int64_t>(known.size()) != frames_;
        const bool is_single = frames_ == 1 && !differs && Begins_More_Than_One();
        if (static_cast<std::int64_t>(Count()) < frames_ || differs || is_single) {
            const DICOM_List* const record = Find_Record(set_.records.Head(), Frames_Tag);
            findings_.Report(Fault::Frames, Level::Kept,
                             At(record != nullptr ? *record : pixels_, {}),
                             "the number of frames does not fit the fragments");
        }
    }

    bool Begins_More_Than_One() const
    {
        std::size_t starts = 0;
        for (std::size_t i = 0; i < Count() && starts < 2; ++i) {
            starts += Is_Start(i) ? 1U : 0U;
        }
        return starts > 1;
    }

    static Path Way()
    {
        return {{Pixel_Data_Tag, 0}};
    }

    Data_Set& set_;
    DICOM_List& pixels_;
    Findings& findings_;
    std::vector<DICOM_List*> fragments_;
    std::int64_t frames_;
    Offsets old_offsets_;
    Offsets new_offsets_;
};

}  // namespace

void Heal_Offset_Table(Data_Set& set, DICOM_List& pixels, Findings& findings)
{
    if (pixels.size == DICOM_Undefined_Length && !Fragments_Of(pixels).empty()) {
        Encapsulated(set, pixels, findings).Heal();
    }
}

}  // namespace lib_mend
