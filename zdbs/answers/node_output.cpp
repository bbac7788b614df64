#include "zdbs/answers/node_output.h"

#include <array>
#include <optional>

#include "zdbs/answers/json.h"
#include "zdbs/base/escape.h"
#include "zdbs/base/visible_text.h"

namespace zdbs {

namespace {

struct ColumnTraits {
    NodeColumn column;
    bool NodeForms::*isAsked;
    bool FactsWanted::*fact;  ///< null: the number itself
    std::string_view title;
    std::string_view member;  ///< of JSON objects
};

/** In the order in which they are printed. */
constexpr std::array<ColumnTraits, 4> columnTable = {{
    {NodeColumn::id, &NodeForms::ids, nullptr, "id", "ids"},
    {NodeColumn::document, &NodeForms::documents, &FactsWanted::document, "document", "documents"},
    {NodeColumn::path, &NodeForms::paths, &FactsWanted::path, "path", "paths"},
    {NodeColumn::value, &NodeForms::values, &FactsWanted::value, "value", "values"},
}};

std::string textOf(NodeColumn column, RecordId node, const RecordFacts &facts) {
    switch (column) {
        case NodeColumn::id:
            return std::to_string(node);
        case NodeColumn::document:
            return std::string(facts.document);
        case NodeColumn::path:
            return std::string(facts.path);
        case NodeColumn::value:
            return std::string(facts.value);
    }
    return {};
}

std::string jsonOf(NodeColumn column, std::string_view text) {
    return column == NodeColumn::id ? std::string(text) : '"' + jsonPiece(text) + '"';
}

/** Tells which of the things that come are asked for. */
class Window {
public:
    explicit Window(const NodeForms &forms) : ahead_(forms.offset), left_(forms.limit) {}

    bool isOver() const { return left_ == 0; }

    bool takes() {
        if (ahead_ > 0) {
            --ahead_;
            return false;
        }
        --left_;
        return true;
    }

private:
    std::uint64_t ahead_;
    std::uint64_t left_;
};

/** Calls `take(node)` for each until the window is over. */
template <typename Take>
void forEach(RecordCursor &nodes, const Window &window, Take take) {
    while (!window.isOver()) {
        const auto batch = nodes.next();
        if (batch.empty()) return;
        for (const RecordId node : batch) {
            if (window.isOver()) return;
            take(node);
        }
    }
}

/** Without any column asked for, CSV has those that say where a node is and what. */
NodeForms csvColumns(const NodeForms &forms) {
    NodeForms columns = forms;
    if (forms.columns() == 0) columns.documents = columns.paths = columns.values = true;
    return columns;
}

FactsWanted factsFor(const NodeForms &forms) {
    FactsWanted wanted;
    for (const ColumnTraits &column : columnTable) {
        if (column.fact != nullptr) wanted.*column.fact = forms.*column.isAsked;
    }
    return wanted;
}

/** The names of the columns, or what a node has in them. */
std::string csvRow(const NodeForms &columns,
                   const std::function<std::string(const ColumnTraits &)> &cell) {
    std::string row;
    bool isFirst = true;
    for (const ColumnTraits &column : columnTable) {
        if (!(columns.*column.isAsked)) continue;
        if (!isFirst) row += ',';
        isFirst = false;
        row += csvField(cell(column));
    }
    return row + "\r\n";
}

}  // namespace

bool NodeForms::has(NodeColumn column) const {
    return this->*columnTable[static_cast<std::size_t>(column)].isAsked;
}

std::size_t NodeForms::columns() const {
    std::size_t count = 0;
    for (const ColumnTraits &column : columnTable)
        count += this->*column.isAsked ? 1 : 0;
    return count;
}

void NodeOutput::write(const OpenDatabase &database, const NodeSource &nodes) {
    if (forms_.asCsv) return writeCsv(database, *nodes());
    const char end = forms_.endsInNul ? '\0' : '\n';
    for (const ColumnTraits &column : columnTable) {
        if (!(forms_.*column.isAsked)) continue;
        tell(column.column, database, *nodes(), [&](RecordId node, const RecordFacts &facts) {
            const std::string text = textOf(column.column, node, facts);
            write_((isTerminal_ ? visibleText(text) : text) + end);
        });
    }
}

void NodeOutput::writeMembers(const OpenDatabase &database, const NodeSource &nodes) const {
    for (const ColumnTraits &column : columnTable) {
        if (!(forms_.*column.isAsked)) continue;
        write_(",\"" + std::string(column.member) + "\":[");
        std::string_view separator;
        tell(column.column, database, *nodes(), [&](RecordId node, const RecordFacts &facts) {
            write_(separator);
            write_(jsonOf(column.column, textOf(column.column, node, facts)));
            separator = ",";
        });
        write_("]");
    }
}

void NodeOutput::writeCsv(const OpenDatabase &database, RecordCursor &nodes) {
    const NodeForms columns = csvColumns(forms_);
    if (!hasHeader_)
        write_(csvRow(columns, [](const auto &column) { return std::string(column.title); }));
    hasHeader_ = true;
    tellRows(columns, database, nodes, [&](RecordId node, const RecordFacts &facts) {
        write_(csvRow(columns,
                      [&](const auto &column) { return textOf(column.column, node, facts); }));
    });
}

void NodeOutput::writeObjects(const OpenDatabase &database, const NodeSource &nodes,
                              const MoreOf &more) const {
    std::string_view separator;
    tellRows(forms_, database, *nodes(), [&](RecordId node, const RecordFacts &facts) {
        std::string object(separator);
        char before = '{';
        for (const ColumnTraits &column : columnTable) {
            if (!(forms_.*column.isAsked)) continue;
            object += before;
            object += '"' + std::string(column.title) + "\":";
            object += jsonOf(column.column, textOf(column.column, node, facts));
            before = ',';
        }
        if (more) object += more(node);
        write_(object + '}');
        separator = ",";
    });
}

void NodeOutput::writeElements(const OpenDatabase &database, const NodeSource &nodes) const {
    tellRows(forms_, database, *nodes(), [&](RecordId node, const RecordFacts &facts) {
        std::string element = "<node";
        for (const ColumnTraits &column : columnTable) {
            if (!(forms_.*column.isAsked) || column.column == NodeColumn::value) continue;
            element += ' ' + std::string(column.title) + "=\"" +
                       escapedAttribute(textOf(column.column, node, facts)) + '"';
        }
        const std::string value = forms_.values ? escapedText(facts.value) : "";
        write_(element + (forms_.values ? '>' + value + "</node>\n" : "/>\n"));
    });
}

void NodeOutput::tellRows(const NodeForms &columns, const OpenDatabase &database,
                          RecordCursor &nodes, const Take &take) const {
    const auto describer = database.describer(factsFor(columns));
    Window window(forms_);
    forEach(nodes, window, [&](RecordId node) {
        if (window.takes()) take(node, describer->of(node));
    });
}

/** Nodes come in document order, so those of one document come behind each other. */
void NodeOutput::tell(NodeColumn column, const OpenDatabase &database, RecordCursor &nodes,
                      const Take &take) const {
    const ColumnTraits &traits = columnTable[static_cast<std::size_t>(column)];
    FactsWanted wanted;
    if (traits.fact != nullptr) wanted.*traits.fact = true;
    const auto describer = traits.fact != nullptr ? database.describer(wanted) : nullptr;
    const bool isOnceEach = column == NodeColumn::document;
    std::optional<std::string> last;
    Window window(forms_);
    forEach(nodes, window, [&](RecordId node) {
        if (isOnceEach) {
            const std::string_view document = describer->of(node).document;
            if (document == last) return;
            last = document;
        }
        if (window.takes()) take(node, describer ? describer->of(node) : RecordFacts{});
    });
}

std::string csvField(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"') quoted += '"';
        quoted += character;
    }
    return quoted + '"';
}

}  // namespace zdbs
