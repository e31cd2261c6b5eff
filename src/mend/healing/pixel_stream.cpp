// Compressed pixel data of defined length. Only as fragments can it be told from native pixel data
// (PS3.5 section A.4).
//
//   declared as compressed    7FE0,0010 OB 1234      FF D8 FF ...      the stream becomes a fragment
//                             7FE0,0010 OB 0                           no fragments
//   declared as uncompressed  7FE0,0010 OW 1234      FF D8 FF ...      the stream becomes a fragment
//                                                                      when its head gives the size
//                                                                      of the image, and is said
//                                                                      otherwise
//   becomes                   7FE0,0010 OB FFFFFFFF  FFFE,E000 0  FFFE,E000 1234 FF D8 FF ...
#include "mend/healing/frame_stream.h"
#include "mend/healing/image.h"
#include "mend/healing/pixel_data.h"
#include "mend/healing/record_building.h"

namespace lib_mend {

namespace {

/** Bytes in which the head of a stream is looked for. */
constexpr std::size_t Head_Size = 65536;

/** Makes a fragment of the value, behind an empty offset table. */
void Encapsulate(DICOM_List& pixels)
{
    Record_List table(New_Record(Item_Tag, VR_OB));
    Take_Place(*table.Head(), pixels);
    if (pixels.size == 0) {
        Set_Items(pixels, {table.Release()});
        pixels.vr = VR_OB;
        return;
    }
    Record_List fragment(New_Record(Item_Tag, VR_OB));
    DICOM_List& stream = *fragment.Head();
    Take_Place(stream, pixels);
    stream.size = pixels.size;
    std::swap(stream.data, pixels.data);
    Set_Items(pixels, {table.Head(), fragment.Head()});
    table.Release();
    fragment.Release();
    pixels.vr = VR_OB;
}

/** Tells whether the head of a stream gives the size that the attributes give. */
bool Has_Size_Of_Image(const Data_Set& set, const Bytes& head)
{
    const std::optional<Frame_Size> size = Size_In_Stream(head);
    const Image image = Image_Of(set, set.records.Head());
    return size.has_value() && image.rows == size->rows && image.columns == size->columns;
}

/** The transfer syntax says that the pixel data is not compressed. */
void Judge_Undeclared(Data_Set& set, DICOM_List& pixels, Findings& findings)
{
    const Bytes head = set.Value(pixels, Head_Size);
    const std::string_view guess = Guess_Pixel_Syntax(head);
    const auto size = static_cast<std::uint64_t>(Size_Of(pixels));
    const std::optional<std::uint64_t> native = Image_Of(set, set.records.Head()).Size();
    if (guess.empty() || !Begins_Frame(head) || (native.has_value() && size >= *native)) {
        return;
    }
    if (!Has_Size_Of_Image(set, head)) {
        findings.Report(Fault::Fragments, Level::Kept, At(pixels, {}),
                        "looks like compressed pixel data, though none is declared");
        return;
    }
    findings.Report(Fault::Fragments, Level::Change, At(pixels, {}),
                    "compressed pixel data is encapsulated, and its transfer syntax declared",
                    {set.syntax, guess});
    Encapsulate(pixels);
    set.encoding.encapsulated = true;
    set.encoding.deflated = false;
    set.syntax = guess;
}

}  // namespace

void Encapsulate_Stream(Data_Set& set, DICOM_List& pixels, Findings& findings)
{
    if (pixels.size < 0 || pixels.nb_item != 0) {
        return;
    }
    if (!set.encoding.encapsulated) {
        Judge_Undeclared(set, pixels, findings);
        return;
    }
    findings.Report(Fault::Fragments, Level::Change, At(pixels, {}),
                    pixels.size > 0 ? "compressed pixel data is encapsulated"
                                    : "empty pixel data is encapsulated");
    Encapsulate(pixels);
}

}  // namespace lib_mend
