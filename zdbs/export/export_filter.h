/** The export filter "zarnxmlquery": the fragments that a request selects, as one document. */
#ifndef ZDBS_EXPORT_EXPORT_FILTER_H
#define ZDBS_EXPORT_EXPORT_FILTER_H

#include <string>
#include <string_view>

#include "zdbs/session/nested_request.h"

namespace zdbs {

/** The two arguments of the filter, taken from its "KEY=value" lines. */
struct ExportArguments {
    std::string query;      ///< XPATHQUERY
    std::string fragments;  ///< XPATHFRAGMENTS: blank-separated specs
};

/** Throws Failure: missingArgument when one of the two is not there or empty, repeatedArgument. */
ExportArguments parseExportArguments(std::string_view text);

/**
 * Writes the export document of an answered request.
 * Throws Failure: badFragmentSpec, documentTooLarge (over 2 147 483 647 bytes).
 */
std::string exportDocument(const RequestAnswer &answer, const ExportArguments &arguments,
                           bool highlight);

}  // namespace zdbs

#endif
