#include "mend/json/from_json.h"

#include "mend/json/json_events.h"
#include "mend/json/set_builder.h"

#include <limits>

namespace lib_mend {

Data_Set From_JSON(std::string_view text, const std::string& name, Findings& findings,
                   const Bulk_Reader& bulk)
{
    Data_Set set;
    set.source = Source::From_Bytes({}, name);
    if (text.size() >= std::numeric_limits<std::uint32_t>::max()) {
        findings.Report(Fault::JSON, Level::Error, {}, "the text is too long");
        set.unreadable = true;
        return set;
    }
    Set_Builder builder(text, findings, bulk);
    const std::optional<JSON_Fault> fault = Parse_JSON(text, builder);
    if (fault) {
        findings.Report(Fault::JSON, Level::Error, {.offset = static_cast<std::int64_t>(fault->at)},
                        Text_Places(text).Line_And_Column(fault->at) + fault->why);
        set.unreadable = true;
    }
    builder.Finish(set);
    findings.Settle_Errors();
    return set;
}

}  // namespace lib_mend
