#include "mend/reading/elements.h"

#include "mend/reading/element_reader.h"

namespace lib_mend {

void Read_Elements(Data_Set& set, std::int64_t start, unsigned char mode, Findings& findings,
                   const Memory_Budget& budget)
{
    Element_Reader reader(set.source, start, set.source->Size(), mode, findings, set.skipped,
                          budget);
    set.records = reader.Read_All();
}

}  // namespace lib_mend
