#include "mend/verify/complete.h"

#include "mend/healing/order.h"
#include "mend/healing/repair.h"
#include "mend/reading/tree.h"
#include "mend/verify/judge.h"
#include "mend/verify/verify.h"
#include "mend/writing/new_uid.h"

#include <algorithm>
#include <map>

namespace lib_mend {

namespace {

constexpr unsigned short Value_Marks = DICOM_Mark_Forced | DICOM_Mark_Default | DICOM_Mark_Append;

/** The records of one list by tag. */
using Record_Map = std::map<Tag, DICOM_List*>;

Record_Map Map_Of(DICOM_List* list)
{
    Record_Map map;
    for (DICOM_List& record : Records(list)) {
        map.emplace(Tag_Of(record), &record);
    }
    return map;
}

/** The records of a list that a module names. Maps of whole data sets cost more than walking them. */
Record_Map Named_In(DICOM_List* list, DICOM_List* module)
{
    Record_Map map;
    for (const DICOM_List& node : Records(module)) {
        map.emplace(Tag_Of(node), nullptr);
    }
    for (DICOM_List& record : Records(list)) {
        const auto named = map.find(Tag_Of(record));
        if (named != map.end() && named->second == nullptr) {
            named->second = &record;
        }
    }
    return map;
}

DICOM_List* Find_In(const Record_Map& map, Tag tag)
{
    const auto found = map.find(tag);
    return found != map.end() ? found->second : nullptr;
}

/** An item of a data set that is open in a context, through which the library works inside it. */
class Place_In_Set {
public:
    explicit Place_In_Set(Data_Set& set) : set_(set)
    {
    }
    Data_Set& Set() const
    {
        return set_;
    }
    DICOM_Root* Root()
    {
        return &root_;
    }
    DICOM_List** List()
    {
        return set_.records.Address();
    }
    const Path& Way() const
    {
        return way_;
    }

    /** Calls `visit` with the list of each item of a sequence, with the item open. */
    template <class Visit>
    void For_Each_Item(const DICOM_List& sequence, Visit&& visit)
    {
        DICOM_Attribute_Sequence_Start(nullptr, &root_, sequence.group, sequence.element,
                                       sequence.flags, 0);
        for (int i = 0; Item_Of(sequence, i) != nullptr; ++i) {
            DICOM_Attribute_Item_Start(nullptr, &root_, 0);
            way_.push_back({Tag_Of(sequence), i});
            visit(sequence.item[i]);
            way_.pop_back();
            DICOM_Attribute_Item_Stop(nullptr, &root_, 0);
        }
        DICOM_Attribute_Sequence_Stop(nullptr, &root_, 0);
    }
    /** Where an element stands or is put that the open item holds. */
    Place Of(const DICOM_List& node) const
    {
        return {true, Tag_Of(node), VR_Of(node), &way_};
    }

private:
    Data_Set& set_;
    DICOM_Root root_ = {};
    Path way_;
};

bool Has_Mark(const DICOM_List& record, unsigned short marks)
{
    return (record.flags & marks) != 0;
}

/**
 * Tells whether an absent attribute is created for the value that its definition gives. A default
 * is not: it stands in for what is required, and nothing tells whether a condition (1C, 2C) holds.
 */
bool Creates_Attribute(const DICOM_List& node)
{
    const bool required = node.type == Type_1 || node.type == Type_2 || node.type == 0;
    return Has_Mark(node, DICOM_Mark_Forced | DICOM_Mark_Append) ||
           (required && Has_Mark(node, DICOM_Mark_Default));
}

/** A sequence that is absent comes into being for values that are wanted, or that it requires. */
bool Creates_Sequence(const DICOM_List& node)
{
    for (const DICOM_List& inner : Records(Item_Of(node, 0))) {
        const bool wanted = Has_Mark(inner, DICOM_Mark_Forced | DICOM_Mark_Append) ||
                            (node.type == Type_1 && Creates_Attribute(inner));
        if (wanted || Creates_Sequence(inner)) {
            return true;
        }
    }
    return false;
}

/** Sets attributes to the values that module records give. */
class Merger {
public:
    Merger(Place_In_Set& place, Findings& findings) : place_(place), findings_(findings)
    {
    }

    void Merge(DICOM_List* list, DICOM_List* module)
    {
        const Record_Map present = Named_In(list, module);
        for (const DICOM_List& node : Records(module)) {
            const DICOM_List* const record = Find_In(present, Tag_Of(node));
            if (record == nullptr) {
                Supply(node);
            } else if (Replaces(node, *record)) {
                Apply(&DICOM_Postproc_Overwrite, node);
            } else if (Item_Of(node, 0) != nullptr) {
                place_.For_Each_Item(*record,
                                     [&](DICOM_List* item) { Merge(item, Item_Of(node, 0)); });
            }
        }
    }

    /** Lets a step of the library put a value of a definition in. */
    template <class Step>
    void Apply(Step step, const DICOM_List& node)
    {
        DICOM_List alone = node;
        alone.next = nullptr;
        step(nullptr, place_.Root(), place_.List(), &alone, Value_Marks);
        const std::string value = Value_Text(node);
        findings_.Report(Fault::Set, Level::Change, place_.Of(node),
                         value.empty() ? "added without a value" : "set", {{}, value});
    }

private:
    bool Replaces(const DICOM_List& node, const DICOM_List& record) const
    {
        return Has_Mark(node, DICOM_Mark_Forced) ||
               (Has_Mark(node, DICOM_Mark_Default) && Is_Empty(place_.Set(), record));
    }

    void Supply(const DICOM_List& node)
    {
        if (Item_Of(node, 0) == nullptr ? Creates_Attribute(node) : Creates_Sequence(node)) {
            Apply(&DICOM_Postproc_Step_1, node);
        }
    }

    static std::string Value_Text(const DICOM_List& node)
    {
        char* value = DICOM_Attribute_Get_Data(nullptr, const_cast<DICOM_List*>(&node));
        std::string text = value != nullptr ? value : "";
        DICOM_Lib_Free(&value);
        return text;
    }

    Place_In_Set& place_;
    Findings& findings_;
};

/**
 * Adds the attributes that have to be there though they may be empty: of type 2, and of type 2C where
 * the condition holds. One of type 1C is for people to fill in.
 */
class Empty_Adder {
public:
    Empty_Adder(Place_In_Set& place, DICOM_List* module, Judge::Purpose purpose, Findings& findings)
        : place_(place), object_(place.Set()), judge_(object_, module, purpose, findings),
          merger_(place, findings), findings_(findings)
    {
    }

    void Add(DICOM_List* list, DICOM_List* module)
    {
        const Record_Map present = Named_In(list, module);
        for (const DICOM_List& node : Records(module)) {
            if (Object::Repeats(node.group)) {
                Add_To_Groups(node);
                continue;
            }
            const DICOM_List* const record = Find_In(present, Tag_Of(node));
            if (record == nullptr) {
                Add_Absent(node, node.group);
            } else if (Item_Of(node, 0) != nullptr) {
                place_.For_Each_Item(*record, [&](DICOM_List* item) {
                    object_.Enter(*record, place_.Way().back().item);
                    Add(item, Item_Of(node, 0));
                    object_.Leave();
                });
            }
        }
    }

    bool Has_Added() const
    {
        return has_added_;
    }

    /** Gives what has to be there its type, whatever the same attribute is in other items or modules. */
    void Keep(DICOM_List* list, DICOM_List* module)
    {
        const Record_Map nodes = Map_Of(module);
        for (DICOM_List& record : Records(list)) {
            const DICOM_List* const node = Find_In(nodes, Tag_Of(record));
            if (node == nullptr) {
                continue;
            }
            const unsigned short type = judge_.Demand_For(*node, node->group).type;
            if (type == Type_2 || type == Type_2C) {
                record.type = type;
            }
            if (Item_Of(*node, 0) != nullptr) {
                place_.For_Each_Item(record, [&](DICOM_List* item) {
                    object_.Enter(record, place_.Way().back().item);
                    Keep(item, Item_Of(*node, 0));
                    object_.Leave();
                });
            }
        }
    }

private:
    static std::string Why(const Judge::Demand& demand)
    {
        const char* const word = demand.is_certain ? ", required since " : ", required in ";
        return demand.reason.empty() ? std::string() : word + demand.reason;
    }
    /** One line describes all groups that repeat, such as overlays. */
    void Add_To_Groups(const DICOM_List& node)
    {
        for (const unsigned short group : object_.Repetitions(node.group)) {
            if (object_.Find({group, node.element}) == nullptr) {
                Add_Absent(node, group);
            }
        }
    }

    void Add_Absent(const DICOM_List& node, unsigned short group)
    {
        if (Has_Mark(node, DICOM_Mark_Delete_Request)) {
            return;
        }
        const Judge::Demand demand = judge_.Demand_For(node, group);
        DICOM_List of_group = node;
        of_group.group = group;
        if (demand.type != 0 && demand.is_certain && Has_Mark(node, DICOM_Mark_Default)) {
            // The condition holds, so that the default stands in for what is required.
            merger_.Apply(&DICOM_Postproc_Step_1, of_group);
            has_added_ = true;
        } else if (demand.type == Type_2 || demand.type == Type_2C) {
            DICOM_Module_Add(nullptr, place_.Root(), place_.List(), &of_group, nullptr);
            findings_.Report(Fault::Set, Level::Change, place_.Of(of_group),
                             "added without a value" + Why(demand));
            has_added_ = true;
        }
    }

    Place_In_Set& place_;
    /** The data set as it was before, so that the order of the lines does not matter. */
    Object object_;
    Judge judge_;
    Merger merger_;
    Findings& findings_;
    bool has_added_ = false;
};

/** Gives the records of every item the types of the module list. */
void Assign_Types(DICOM_List* list, DICOM_List* module)
{
    DICOM_Root root = {};
    DICOM_Attribute_Assign_Info(nullptr, &root, module, list);
    const Record_Map nodes = Map_Of(module);
    for (DICOM_List& record : Records(list)) {
        const auto first = static_cast<unsigned short>(record.group & 0xFF00U);
        const bool is_repeated = Object::Repeats(first) && record.group != first;
        if (is_repeated) {
            const DICOM_List* const of_first = Find_In(nodes, {first, record.element});
            record.type = of_first != nullptr ? of_first->type : record.type;
        }
        const DICOM_List* const node = Find_In(nodes, Tag_Of(record));
        for (int i = 0;
             node != nullptr && Item_Of(*node, 0) != nullptr && Item_Of(record, i) != nullptr;
             ++i) {
            Assign_Types(Item_Of(record, i), Item_Of(*node, 0));
        }
    }
}

struct Identity {
    Tag tag;
    /** The element of group 0002 that repeats it; none has the element 0000. */
    Tag meta;
    bool can_be_made = true;
};

constexpr Identity Identities[] = {
    {{0x0008, 0x0016}, {0x0002, 0x0002}, false},
    {{0x0008, 0x0018}, {0x0002, 0x0003}},
    {{0x0020, 0x000D}, {}},
    {{0x0020, 0x000E}, {}},
    {{0x0020, 0x0052}, {}},
};

/**
 * Supplies the UIDs that tell a data set apart: from the file meta information where that repeats
 * them, or new ones. Nobody can guess any other required value.
 */
void Make_Identity(Place_In_Set& place, DICOM_List* module, Findings& findings)
{
    for (const Identity& identity : Identities) {
        const Tag tag = identity.tag;
        const DICOM_List* const node = Find_Record(module, tag);
        const DICOM_List* const record = Find_Record(*place.List(), tag);
        if (node == nullptr || node->type != Type_1 ||
            (record != nullptr && !Is_Empty(place.Set(), *record))) {
            continue;
        }
        Data_Set& set = place.Set();
        const DICOM_List* const meta = Find_Record(set.meta.Head(), identity.meta);
        std::string uid = meta != nullptr ? Trimmed(set.Value(*meta)) : std::string();
        if (!Is_UID(uid)) {
            uid = identity.can_be_made ? Make_UID(set, tag) : std::string();
        }
        if (uid.empty()) {
            continue;
        }
        DICOM_Attribute_Add(nullptr, place.Root(), place.List(), tag.group, tag.element, VR_UI, 1,
                            uid.c_str());
        findings.Report(Fault::Set, Level::Change, {true, tag, VR_UI}, "set", {{}, uid});
    }
}

/** Takes out what is empty and need not be there. */
void Remove_Empty(Place_In_Set& place, Findings& findings)
{
    DICOM_Postproc_Step_2(nullptr, place.Root(), *place.List(), 0);
    Tree_Walk walk(*place.List());
    while (DICOM_List* const record = walk.Next()) {
        if (Is_Delimiter(*record)) {
            // An item without elements matters by its position.
            record->flags = static_cast<unsigned short>(record->flags & ~DICOM_Mark_Deleted);
        } else if (Has_Mark(*record, DICOM_Mark_Deleted)) {
            findings.Report(Fault::Removed, Level::Change, At(*record, walk.Way()),
                            "left out: it is empty and need not be there");
        }
    }
    DICOM_Attribute_Remove(nullptr, place.List(), DICOM_Remove_Deleted);
}

void Report_Deletions(DICOM_List* list, DICOM_List* module, Path& way, Findings& findings)
{
    const Record_Map present = Named_In(list, module);
    for (const DICOM_List& node : Records(module)) {
        const DICOM_List* const record = Find_In(present, Tag_Of(node));
        if (record != nullptr && Has_Mark(node, DICOM_Mark_Delete_Request)) {
            findings.Report(Fault::Removed, Level::Change, At(*record, way), "left out on request");
        } else if (record != nullptr && Item_Of(node, 0) != nullptr &&
                   Item_Of(*record, 0) != nullptr) {
            way.push_back({Tag_Of(*record), 0});
            Report_Deletions(Item_Of(*record, 0), Item_Of(node, 0), way, findings);
            way.pop_back();
        }
    }
}

/** The library puts what it adds in front of the item header. That is no fault of the file. */
void Restore_Order(Data_Set& set)
{
    Findings unheard;
    Heal_Order(set, set.records, unheard);
}

/** What is added may be what something else is required for. What is gone by now requires nothing. */
void Add_Required(Place_In_Set& place, DICOM_List* module, Findings& findings)
{
    // Longer than any chain of conditions that definitions have.
    constexpr int Most_Rounds = 32;
    bool has_added = true;
    for (int round = 0; has_added && round < Most_Rounds; ++round) {
        Empty_Adder adder(place, module, Judge::Purpose::Add, findings);
        adder.Add(*place.List(), module);
        has_added = adder.Has_Added();
        Restore_Order(place.Set());
    }
}

}  // namespace

bool Complete(Data_Set& set, DICOM_List* module, Findings& findings)
{
    Place_In_Set place(set);
    Merger(place, findings).Merge(*place.List(), module);
    Restore_Order(set);
    Make_Identity(place, module, findings);
    Restore_Order(set);
    Assign_Types(*place.List(), module);
    Findings said_before;
    Empty_Adder(place, module, Judge::Purpose::Keep, said_before).Keep(*place.List(), module);
    Remove_Empty(place, findings);
    Path top;
    Report_Deletions(*place.List(), module, top, findings);
    DICOM_Postproc_Step_4(nullptr, place.Root(), place.List(), module);
    Restore_Order(set);
    Add_Required(place, module, findings);
    const std::string errors = findings.Take_Errors();
    if (!errors.empty()) {
        findings.Report(Fault::Definitions, Level::Error, {}, "definition files: " + errors);
    }
    return errors.empty();
}

}  // namespace lib_mend
