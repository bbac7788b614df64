#include <limits>
#include <utility>

#include "zdbs/export/export_document.h"
#include "zdbs/export/name_list.h"
#include "zdbs/remote/kernel_session.h"

namespace zdbs {

namespace {

DocumentBlock blockOf(std::string_view text) {
    DocumentSink sink(text.size() + 1);
    sink.write(text);
    return sink.take();
}

}  // namespace

std::optional<ExportFilter> exportFilter(std::string_view name) {
    if (name == "zarnxmlquery") return ExportFilter::fragments;
    if (name == "zarnxmlnames") return ExportFilter::names;
    if (name == "zarnxmldatabases") return ExportFilter::databases;
    return std::nullopt;
}

remote::PlacedRecord LocalSession::record(std::int32_t set, std::int32_t ordinal) {
    remote::PlacedRecord placed{session_->record(set, ordinal), {}};
    RecordPlace place = session_->placeOf(placed.found.record);
    placed.found.record = place.number;
    placed.database = std::move(place.database);
    if (placed.found.record > std::numeric_limits<std::int32_t>::max())
        throw Failure(Status::recordTooLarge, {std::to_string(placed.found.record)});
    return placed;
}

DocumentBlock LocalSession::exportText(ExportFilter filter, std::string_view text, bool highlight) {
    switch (filter) {
        case ExportFilter::databases:
            return blockOf(databaseList(*session_));
        case ExportFilter::names:
            return blockOf(nameList(*session_, text));
        case ExportFilter::fragments:
            break;
    }
    const ExportArguments arguments = parseExportArguments(text);
    const RequestAnswer answer = runNestedRequest(*session_, arguments.query);
    return exportBlock(answer, arguments, highlight);
}

}  // namespace zdbs
