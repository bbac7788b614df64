// Specifications of fragments: compiled or refused; and a list that was cut is cut in the same
// places when it is put together again.
#include <string>

#include "fuzz/fuzzing.h"
#include "zdbs/export/export_document.h"
#include "zdbs/export/spec_list.h"

void fuzz(fuzzing::Bytes input) {
    const std::string_view text = fuzzing::textOf(input);
    fuzzing::isRefused([&] { zdbs::checkFragmentSpecs(text); });
    fuzzing::isRefused([&] { zdbs::parseExportArguments(text); });
    std::string joined;
    const auto specs = zdbs::splitSpecs(text);
    for (const std::string &spec : specs)
        joined += spec + " ";
    // What is never closed reaches to the end, with a blank more now.
    if (!joined.empty()) joined.pop_back();
    fuzzing::require(zdbs::splitSpecs(joined) == specs, "A list of specifications is cut twice.");
}
