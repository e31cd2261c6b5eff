// Objects made from the definitions alone, and objects with one fault: nothing is said of the first,
// and the fault of the others.
#include "support/mend_in_memory.h"
#include "support/mutants.h"
#include "support/object_maker.h"
#include "support/samples.h"

#include "mend/interface/heal.h"
#include "mend/verify/condition.h"
#include "mend/verify/verify.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>
#include <sstream>

namespace {

using namespace lib_mend;

/** Of the mutants of an object; all of them take a minute and more. */
constexpr std::size_t Most_Of_A_Kind = 16;

/** The shipped definitions, for the length of a test. */
class Shipped_Definitions {
public:
    Shipped_Definitions()
    {
        const std::filesystem::path directory = SHIPPED_DEFINITIONS;
        DICOM_Module_Setup(nullptr, directory.wstring().c_str());
        std::ifstream index(directory / "iods" / "index.txt");
        for (std::string line; std::getline(index, line);) {
            std::istringstream words(line);
            std::string iod;
            std::string modality;
            std::string classes;
            if (words >> iod >> modality >> classes && iod[0] != '#') {
                sop_classes.emplace(iod,
                                    classes == "-" ? "" : classes.substr(0, classes.find('|')));
            }
        }
    }
    Shipped_Definitions(const Shipped_Definitions&) = delete;
    Shipped_Definitions& operator=(const Shipped_Definitions&) = delete;
    ~Shipped_Definitions()
    {
        DICOM_Lib_Cleanup();
    }

    /** The first SOP class by IOD; empty for none. */
    std::map<std::string, std::string> sop_classes;
};

/** Mutants by kind: how many there were, and how many were found. */
class Tally {
public:
    /** @param most  of each kind, picked evenly */
    void Try(Made_Set& object, DICOM_List* module, const std::string& name, std::size_t most)
    {
        const std::string before = Lines_Of(Verified(object, module));
        std::map<Mutant::Kind, std::vector<Mutant>> by_kind;
        for (Mutant& mutant : Mutants_Of(object, module)) {
            by_kind[mutant.kind].push_back(std::move(mutant));
        }
        for (auto& [kind, mutants] : by_kind) {
            const std::size_t step = mutants.size() / most + 1;
            for (std::size_t i = name.size() % step; i < mutants.size(); i += step) {
                Try_One(mutants[i], object, module, name);
            }
            EXPECT_EQ(Lines_Of(Verified(object, module)), before)
                << name << ", taken back: " << Mutant::Names[kind];
        }
    }

    void Expect_Found() const
    {
        for (std::size_t kind = 0; kind < tried_.size(); ++kind) {
            std::printf("%s: %d, found %d%s\n", Mutant::Names[kind], tried_[kind], found_[kind],
                        missed_[kind].c_str());
            EXPECT_GT(tried_[kind], 0) << Mutant::Names[kind];
            EXPECT_GE(found_[kind] * 100, tried_[kind] * (kind == Mutant::No_Operand ? 100 : 95))
                << Mutant::Names[kind];
        }
    }

private:
    void Try_One(Mutant& mutant, Made_Set& object, DICOM_List* module, const std::string& name)
    {
        const std::set<std::string> before = Keys(Verified(object, module));
        mutant.Swap_With(object);
        const std::vector<Finding> said = Verified(object, module);
        bool is_found = mutant.kind == Mutant::No_Operand;
        bool was_there = false;
        EXPECT_EQ(Without_Section(said), "") << name;
        for (const Finding& each : said) {
            const bool is_new = before.count(Key(each)) == 0;
            is_found = is_found || (is_new && Tells(each, mutant));
            was_there = was_there || (!is_new && Tells(each, mutant));
            const std::string objection = Objection(each, object, module);
            EXPECT_EQ(objection, "") << name << ": " << Lines_Of({each});
        }
        mutant.Swap_With(object);
        if (!is_found && was_there) {
            return;
        }
        const auto kind = static_cast<std::size_t>(mutant.kind);
        ++tried_[kind];
        found_[kind] += is_found ? 1 : 0;
        if (!is_found) {
            missed_[kind] +=
                "\n" + name + " " + mutant.path + " by " + Path_Text(mutant.way, mutant.tag);
        }
    }

    static bool Tells(const Finding& finding, const Mutant& mutant)
    {
        const bool is_module =
            finding.fault == Fault::Module &&
            std::any_of(mutant.modules.begin(), mutant.modules.end(), [&](const auto& module) {
                return finding.text.starts_with("the " + module + " Module is missing");
            });
        const bool is_group = finding.fault == Fault::Functional_Group &&
                              mutant.path.ends_with(Tag_Text(finding.tag));
        // Of two attributes one of which is to be there, the other one is said to be missing.
        const bool is_other =
            finding.fault == Fault::Missing && mutant.fault == Fault::Missing &&
            finding.path.starts_with(mutant.path.substr(0, mutant.path.rfind('/') + 1)) &&
            finding.text.ends_with("since " + Spoken_Name(mutant.tag) + " is not there");
        const bool is_same =
            finding.fault == mutant.fault ||
            (finding.fault == Fault::Module_Incomplete && mutant.fault == Fault::Missing);
        return is_module || is_group || is_other || (is_same && finding.path == mutant.path);
    }
    static std::string Key(const Finding& finding)
    {
        return std::string(Kind_Of(finding).name) + finding.path + finding.text;
    }
    static std::set<std::string> Keys(const std::vector<Finding>& findings)
    {
        std::set<std::string> keys;
        for (const Finding& each : findings) {
            keys.insert(Key(each));
        }
        return keys;
    }

    std::array<int, std::size(Mutant::Names)> tried_ = {};
    std::array<int, std::size(Mutant::Names)> found_ = {};
    std::array<std::string, std::size(Mutant::Names)> missed_;
};

TEST(Verifying, ObjectsMadeFromTheDefinitionsPassAndTheirMutantsDoNot)
{
    const Shipped_Definitions definitions;
    Tally tally;
    std::string failing;
    for (const auto& [iod, sop_class] : definitions.sop_classes) {
        // The IOD of group 0002 describes no data set.
        if (iod == "FILE-META") {
            continue;
        }
        DICOM_List* const module = DICOM_Module_Read(nullptr, iod.c_str());
        ASSERT_NE(module, nullptr) << iod;
        for (const bool has_options : {false, true}) {
            Object_Maker maker(module, sop_class, has_options);
            Made_Set object = maker.Make();
            failing += maker.Left().empty() ? "" : iod + ":\n" + maker.Left();
            tally.Try(object, module, iod, Most_Of_A_Kind);
        }
    }
    EXPECT_EQ(failing, "");
    tally.Expect_Found();
}

TEST(Verifying, MutantsOfSamplesAreFound)
{
    const Shipped_Definitions definitions;
    Tally tally;
    For_Each_Sample([&](const std::string& name, const std::string& bytes) {
        Findings findings;
        const Library_Session session(findings);
        Data_Set set = Read_Data_Set(Source_Of(bytes), findings);
        Heal(set, {}, findings);
        const std::string iod = Module_Name_Of(set, findings);
        DICOM_List* const module = iod.empty() ? nullptr : DICOM_Module_Read(nullptr, iod.c_str());
        if (module != nullptr) {
            Made_Set object = Made_Of(set, set.records.Head());
            tally.Try(object, module, name, Most_Of_A_Kind);
        }
    });
    if (!IsSkipped()) {
        tally.Expect_Found();
    }
}

}  // namespace
