// Looks ahead: how well the headers that follow a place make sense, read in a given way.
#ifndef LIB_MEND_OUTLOOK_H
#define LIB_MEND_OUTLOOK_H

#include "mend/io/window.h"
#include "mend/reading/plausibility.h"

#include <array>

namespace lib_mend {

/**
 * The open levels as one way of reading leaves them, and what follows under it. Every look goes
 * over a fixed number of headers, so that it costs the same wherever it is tried.
 */
class Outlook {
public:
    /** Headers that a look goes over, and what each of them counts. */
    static constexpr int Enough_Steps = 6;
    static constexpr int Sound_Points = 3;
    static constexpr int Fair_Points = 2;
    static constexpr int Doubtful_Points = 1;
    static constexpr int All_Points = Enough_Steps * Sound_Points;

    Outlook(Window& window, std::span<const Nesting_Level> levels, std::int64_t size);

    Level_View& Top()
    {
        return levels_[depth_ - 1];
    }
    const Level_View& Top() const
    {
        return levels_[depth_ - 1];
    }
    std::size_t Depth() const
    {
        return depth_;
    }
    void Push(const Level_View& level);
    void Pop()
    {
        --depth_;
    }
    /**
     * Goes over headers from a position. A look that comes to the end of the levels exactly counts
     * as if all that were left were sound.
     */
    int Follow(std::int64_t at, int steps = Enough_Steps);
    /** The same behind a header that is taken as it is, whatever it looks like. */
    int Follow_Header(const Element_Header& header, std::int64_t at, int steps = Enough_Steps);

private:
    int Step();
    int Step_Element(const Element_Header& header);
    Element_Header Header_Here();
    int Step_Damaged(const Element_Header& header);
    int Step_Delimiter(const Element_Header& header);
    int Step_Item(const Element_Header& header);
    bool Holds_Item(const Element_Header& header);
    int Torn_Size(const Element_Header& header);
    void Enter_Torn(const Element_Header& header, int size);
    void Enter(const Element_Header& header);
    bool Leave_Ended();

    Window& window_;
    std::int64_t size_;
    std::int64_t at_ = 0;
    /** The levels around the innermost ones are not looked at. */
    bool is_whole_;
    /** What follows cannot be told, though it was not wrong so far. */
    bool stopped_ = false;
    /** A damaged header was stepped over: one a look. */
    bool was_damaged_ = false;
    std::size_t depth_ = 0;
    std::array<Level_View, 24> levels_;
};

/**
 * Byte-order code of the elements of an item, by the look of the first one: two capitals behind its
 * tag that are a VR of it, or none.
 */
unsigned char Mode_In_Item(Window& window, std::int64_t at, const Level_View& item);

}  // namespace lib_mend

#endif
