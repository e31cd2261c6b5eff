#include "mend/json/from_json.h"

#include "mend/io/spool.h"
#include "mend/json/json_events.h"
#include "mend/json/set_builder.h"

#include <limits>
#include <span>

namespace lib_mend {

namespace {

void Build(const Source& text, Findings& findings, const Bulk_Reader& bulk, Data_Set& set)
{
    Set_Builder builder(text, findings, bulk);
    const std::optional<JSON_Fault> fault = Parse_JSON(text, builder);
    if (fault) {
        findings.Report(Fault::JSON, Level::Error, {.offset = static_cast<std::int64_t>(fault->at)},
                        Text_Places(text).Line_And_Column(fault->at) + fault->why);
        set.unreadable = true;
    }
    builder.Finish(set);
}

}  // namespace

Data_Set From_JSON(const Source& text, Findings& findings, const Bulk_Reader& bulk)
{
    Data_Set set;
    set.source = Source::From_Bytes({}, text.Name());
    if (text.Size() >= std::numeric_limits<std::uint32_t>::max()) {
        findings.Report(Fault::JSON, Level::Error, {}, "the text is too long");
        set.unreadable = true;
        return set;
    }
    try {
        Build(text, findings, bulk, set);
    } catch (const Spool_Failure& failure) {
        findings.Report(Fault::Unreadable, Level::Error, {}, failure.what());
        set.unreadable = true;
    }
    findings.Settle_Errors();
    return set;
}

Data_Set From_JSON(std::string_view text, const std::string& name, Findings& findings,
                   const Bulk_Reader& bulk)
{
    const std::span bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    return From_JSON(*Source::From_Image(bytes, name), findings, bulk);
}

}  // namespace lib_mend
