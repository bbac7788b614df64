/** XGET. */
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "foundation/memory.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/interrupts.h"
#include "prg/xml/xpath/utils/vexa/kernel_text.h"
#include "prg/xml/xpath/utils/vexa/line_editor.h"
#include "prg/xml/xpath/utils/vexa/pager.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

constexpr char exportFilter[] = "zarnxmlquery";

/** The argument lines of the filter, in UTF-8. Longer than what a format can take, if need be. */
void buildArguments(const char *query, const char *fragmentSpec, CStringBuffer &arguments) {
    const std::unique_ptr<char[]> utf8Query = Vexa::nls2utf(query, -1, nullptr);
    const std::unique_ptr<char[]> utf8Spec = Vexa::nls2utf(fragmentSpec, -1, nullptr);
    arguments.append("XPATHQUERY=").append(utf8Query.get());
    arguments.append("\nXPATHFRAGMENTS=").append(utf8Spec.get()).append("\n");
}

int32_t exportWatched(FilterData &data, bool showsTime) {
    const WorkWatch watch(showsTime);
    return ZdbExport(&data);
}

std::string printFailure(int32_t status, const FilterData &data) {
    char message[sizeof data.errortext + 1] = "";
    std::memcpy(message, data.errortext, sizeof data.errortext);
    if (*message == '\0') fetchMessage(status, message, sizeof data.errortext);
    printError("ERROR: %s\n", message);
    return message;
}

}  // namespace

/** Whole, whatever bytes it holds, and one line feed. */
void Vexa::printDocument(const FilterData &data) const {
    if (data.buffer == nullptr) {
        printError("ERROR: Unexpected NULL result document.\n");
        return;
    }
    const auto length = static_cast<size_t>(std::max(data.buffer_length, 0));
    if (m_pEditor != nullptr) return showDocument({data.buffer, length}, talks());
    std::fwrite(data.buffer, 1, length, stdout);
    std::putchar('\n');
}

int Vexa::getFragments(const char *query, const char *fragmentspec) try {
    CStringBuffer arguments(256);
    buildArguments(query, fragmentspec, arguments);
    FilterData data = {};
    std::memcpy(data.filter_name, exportFilter, sizeof exportFilter);
    data.filter_arguments = arguments;
    data.arg_length = arguments.length();
    data.filter_options = m_bHighlight ? ZDB_FILTER_HIGHLIGHT : 0;
    data.zdb_options = exportOptions;
    const int32_t status = exportWatched(data, m_bTalks);
    std::string error;
    if (succeeded(status)) {
        printDocument(data);
    } else {
        error = printFailure(status, data);
    }
    ZfxMemFree(data.buffer);
    noteOn(query, error);
    return succeeded(status) ? 1 : 0;
} catch (const std::bad_alloc &) {
    printError("Unknown exception occurred.\n");
    return 0;
}
