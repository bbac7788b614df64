/** The document that the export filter hands back. */
#ifndef ZDBS_EXPORT_EXPORT_DOCUMENT_H
#define ZDBS_EXPORT_EXPORT_DOCUMENT_H

#include <cstddef>
#include <string>
#include <string_view>

#include "zdbs/base/sink.h"
#include "zdbs/export/document_sink.h"
#include "zdbs/export/export_filter.h"

namespace zdbs {

/** Namespace of the document's own elements and attributes, and the prefix they have in it. */
constexpr std::string_view exportNamespace = "urn:vexa:export";
constexpr std::string_view exportPrefix = "vexa";

/** The length of the document is handed over as a signed 32-bit number. */
constexpr std::size_t maxExportLength = 2147483647;

/** Throws Failure(badFragmentSpec) unless all of these blank-separated specs can be used. */
void checkFragmentSpecs(std::string_view fragments);

/**
 * Writes the export document piece by piece, so that it may be of any length. Throws
 * Failure(badFragmentSpec) before the first piece.
 */
void writeExportDocument(const RequestAnswer &answer, std::string_view fragments, bool highlight,
                         XmlSink &sink);

/**
 * exportDocument() in the block that the caller of the filter gets, and with a limit: the
 * document is shorter than `limit` bytes, or Failure(documentTooLarge) is thrown as soon as it
 * is clear.
 */
DocumentBlock exportBlock(const RequestAnswer &answer, const ExportArguments &arguments,
                          bool highlight, std::size_t limit = maxExportLength);

/**
 * exportDocument() with a limit of the caller: the document is shorter than `limit`
 * bytes, or Failure(documentTooLarge) is thrown as soon as it is clear.
 */
std::string limitedExportDocument(const RequestAnswer &answer, const ExportArguments &arguments,
                                  bool highlight, std::size_t limit);

}  // namespace zdbs

#endif
