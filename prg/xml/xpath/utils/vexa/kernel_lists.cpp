#include "prg/xml/xpath/utils/vexa/kernel_lists.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

#include "foundation/memory.h"
#include "kernel/zdbs.h"
#include "prg/xml/xpath/utils/vexa/kernel_text.h"

namespace {

/** Empty when the kernel has no such list. */
std::istringstream listOf(std::string_view filter, std::string arguments) {
    FilterData data = {};
    std::memcpy(data.filter_name, filter.data(), filter.size());
    data.filter_arguments = arguments.data();
    data.arg_length = static_cast<std::int32_t>(arguments.size());
    data.zdb_options = exportOptions;
    const bool isThere = succeeded(ZdbExport(&data)) && data.buffer != nullptr;
    const auto length = static_cast<std::size_t>(std::max(data.buffer_length, 0));
    std::string list = isThere ? std::string(data.buffer, length) : std::string();
    ZfxMemFree(data.buffer);
    return std::istringstream(std::move(list));
}

/** False for a line of another form. */
bool readName(const std::string &line, OfferedName &name) {
    std::istringstream cells(line);
    std::array<std::string, 5> cell;
    for (std::string &text : cell)
        std::getline(cells, text, '\t');
    name = {cell[0] == "A", cell[2] == "1", cell[3], cell[4]};
    return (cell[0] == "A" || cell[0] == "E") && !name.local.empty();
}

}  // namespace

std::vector<OfferedName> namesAt(const std::string &place) {
    std::istringstream list = listOf("zarnxmlnames", place);
    std::vector<OfferedName> names;
    OfferedName name;
    for (std::string line; std::getline(list, line);)
        if (readName(line, name)) names.push_back(name);
    return names;
}

std::vector<std::string> databaseNames() {
    std::istringstream list = listOf("zarnxmldatabases", "");
    std::vector<std::string> names;
    for (std::string line; std::getline(list, line);)
        names.push_back(line);
    return names;
}

std::vector<notes::KnownName> knownNames() {
    using Kind = notes::KnownName::Kind;
    std::vector<notes::KnownName> known;
    for (const OfferedName &name : namesAt("//")) {
        if (name.local == "*") return {};
        known.push_back({name.isAttribute ? Kind::attribute : Kind::element, name.prefix,
                         name.local, name.hasElements});
    }
    return known;
}
