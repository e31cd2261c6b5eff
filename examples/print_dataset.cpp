// Prints what a file holds and what is wrong with it, by the C++ interface of the mending layer.
#include <Lib_DICOM_Mend/dataset.hpp>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: print_dataset FILE\n", stderr);
        return 2;
    }
    try {
        dicom_mend::Session session;
        const dicom_mend::Dataset ds = session.read(argv[1]);
        ds.walk([](const dicom_mend::Element& element, std::size_t depth) {
            const std::string value = element.text().value_or("");
            std::printf("%*s%s %s %.64s\n", static_cast<int>(2 * depth), "", element.vr().c_str(),
                        element.name().c_str(), value.c_str());
        });
        std::printf("by path: %s\n", ds["PatientName"].text().value_or("no name").c_str());
        session.check(ds);
        for (const dicom_mend::Finding& finding : session.findings()) {
            std::printf("%s: %s\n", finding.path.c_str(), finding.message.c_str());
        }
        return session.outcome();
    } catch (const dicom_mend::Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
