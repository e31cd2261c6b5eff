#include "mend/healing/text_scanner.h"

#include <Lib_DICOM/Lib_DICOM.h>

#include <algorithm>
#include <array>

namespace lib_mend {

bool Follows_Character_Set(unsigned short vr)
{
    constexpr std::array VRs = {VR_SH, VR_LO, VR_ST, VR_LT, VR_UC, VR_UT, VR_PN, VR_UN};
    return std::find(VRs.begin(), VRs.end(), vr) != VRs.end();
}

std::string_view Separators_Of(unsigned short vr)
{
    switch (vr) {
    case VR_PN:
        return "\\^=";
    case VR_ST:
    case VR_LT:
    case VR_UT:
    case VR_UR:
        return "";
    default:
        return "\\";
    }
}

bool Text_Scanner::Next(Text_Piece& piece)
{
    if (rest_.empty()) {
        return false;
    }
    const char byte = rest_[0];
    const auto code = static_cast<unsigned char>(byte);
    const bool is_high = code >= 0x80;
    const Repertoire* const set = is_high ? now_.g1 : now_.g0;
    if (byte == Escape_Byte) {
        piece = Take_Escape();
    } else if (code < 0x20) {
        piece = Take_Separator();
    } else if (separators_.find(byte) != std::string_view::npos &&
               Character_Size(set->kind, rest_) < 2) {
        // It is no half of a character of two bytes.
        piece = Take_Separator();
    } else if (byte == ' ' || code == 0x7F || (set == &Default_Repertoire() && !is_high)) {
        piece = Take(Text_Piece::Kind::Plain, 1);
    } else {
        piece = Take_Character(set);
    }
    return true;
}

Text_Piece Text_Scanner::Take(Text_Piece::Kind kind, std::size_t size, const Repertoire* set)
{
    const std::string_view bytes = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return {kind, bytes, set};
}

Text_Piece Text_Scanner::Take_Separator()
{
    now_ = start_;
    return Take(Text_Piece::Kind::Separator, 1);
}

Text_Piece Text_Scanner::Take_Escape()
{
    const Designation found = follows_escapes_ ? Designation_At(rest_) : Designation();
    if (found.set == nullptr) {
        // The ESC of another sequence is no more than a byte.
        return Take(Text_Piece::Kind::Bad, 1);
    }
    (found.side == Side::G0 ? now_.g0 : now_.g1) = found.set;
    return Take(Text_Piece::Kind::Escape, found.size, found.set);
}

Text_Piece Text_Scanner::Take_Character(const Repertoire* set)
{
    const std::size_t size = set != nullptr ? Character_Size(set->kind, rest_) : 0;
    return size == 0 ? Take(Text_Piece::Kind::Bad, 1)
                     : Take(Text_Piece::Kind::Character, size, set);
}

}  // namespace lib_mend
