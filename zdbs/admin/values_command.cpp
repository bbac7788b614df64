#include <string>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/request_text.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/answers/request_desk.h"
#include "zdbs/answers/value_counts.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace {

std::string asText(const std::vector<ValueCount> &counts) {
    TextTable table({TextTable::Align::right, TextTable::Align::left});
    table.add({"COUNT", "VALUE"});
    for (const auto &[value, count] : counts)
        table.add({std::to_string(count), visibleText(value)});
    return table.text();
}

}  // namespace

bool listValues(const HomeChoice &home, const ValuesRequest &request) {
    const auto session = Session::ofOwner(home.open()->open(request.database));
    RequestDesk desk(*session);
    const Interruption interruption;
    try {
        const auto counts = countValues(desk.answer(request.request), request.byCount);
        writeOutput(request.asJson  ? valuesAsJson(counts)
                    : request.asCsv ? valuesAsCsv(counts)
                                    : asText(counts));
    } catch (const Failure &failure) {
        Interruption::endIfRequested(request.request);
        if (failure.status() == Status::writeFailed) throw;
        writeMessage(nameOf(request.request) + ": " + visibleText(failure.what()));
        return false;
    }
    return true;
}

}  // namespace zdbs::admin
