// The way through a record as it is encoded. It is kept on the heap: clients may nest lists deeper
// than any stack reaches.
#ifndef LIB_DICOM_SRC_WRITE_ENCODING_WALK_H
#define LIB_DICOM_SRC_WRITE_ENCODING_WALK_H

#include "write/record_form.h"

#include <deque>

namespace lib_dicom {

/**
 * Takes a visitor through a record and everything below it, in the order of the encoding.
 *
 * The visitor has a class `Sequence`, which is made from the visitor and the record when a sequence
 * begins and goes when it has ended, and takes part in Item_Begin(sequence), Item_End(sequence) and
 * End(sequence). What has no items of its own goes to Plain(record, form).
 */
template <class Visitor>
class Encoding_Walk {
public:
    explicit Encoding_Walk(Visitor& visitor) : visitor_(visitor)
    {
    }
    Encoding_Walk(const Encoding_Walk&) = delete;
    Encoding_Walk& operator=(const Encoding_Walk&) = delete;
    ~Encoding_Walk()
    {
        while (!open_.empty()) {
            open_.pop_back();
        }
    }

    void Over(DICOM_List& record)
    {
        Enter(record);
        while (!open_.empty()) {
            Position& place = open_.back();
            if (place.record != nullptr) {
                DICOM_List& next = *place.record;
                place.record = next.next;
                Enter(next);
            } else {
                Next_Item(place);
            }
        }
    }

private:
    /** A sequence on the way: its items, and the record that comes next in the open one. */
    struct Position {
        Position(Visitor& visitor, DICOM_List& whole)
            : sequence(visitor, whole), items(Items(whole))
        {
        }

        typename Visitor::Sequence sequence;
        std::span<DICOM_List* const> items;
        bool is_in_item = false;
        DICOM_List* record = nullptr;
    };

    void Enter(DICOM_List& record)
    {
        const Form form = Form_Of(record);
        if (form != Form::Sequence || Is_Left_Out(record)) {
            visitor_.Plain(record, form);
        } else {
            open_.emplace_back(visitor_, record);
        }
    }
    void Next_Item(Position& place)
    {
        if (place.is_in_item) {
            visitor_.Item_End(place.sequence);
            place.is_in_item = false;
        }
        if (place.items.empty()) {
            visitor_.End(place.sequence);
            open_.pop_back();
            return;
        }
        visitor_.Item_Begin(place.sequence);
        place.is_in_item = true;
        place.record = place.items.front();
        place.items = place.items.subspan(1);
    }

    Visitor& visitor_;
    std::deque<Position> open_;
};

}  // namespace lib_dicom

#endif
