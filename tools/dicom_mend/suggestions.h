// What somebody may have meant who mistyped a name.
#ifndef TOOLS_DICOM_MEND_SUGGESTIONS_H
#define TOOLS_DICOM_MEND_SUGGESTIONS_H

#include <string>
#include <vector>

namespace dicom_mend {

/**
 * The names that are nearest to a text: a letter left out, put in, or changed, and two that changed places,
 * count one each, capitals nothing. Three at most, none that differ in more than a third of the letters;
 * where there is none, names that hold the text, or words that are near it.
 */
std::vector<std::string> Nearest(const std::string& text, const std::vector<std::string>& names);

/** "; did you mean list?", or nothing when nothing is near. */
std::string Suggestion(const std::string& text, const std::vector<std::string>& names);

/** The same words for names that were found otherwise. */
std::string Listed(const std::vector<std::string>& nearest);

/**
 * What is wrong with a tag, a keyword or a path of both, said of the part that is wrong: "PatientNam is neither a
 * tag nor a keyword; did you mean PatientName?". Empty when nothing is.
 */
std::string Path_Fault(const std::string& text);

/** Tags of the registry that are nearest to one that it does not have, or that has another form. */
std::string Tag_Suggestion(const std::string& text);

}  // namespace dicom_mend

#endif
