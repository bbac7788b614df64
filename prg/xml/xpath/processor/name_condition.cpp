// The condition of a node test.
#include "prg/xml/xpath/processor/buffer_text.h"
#include "prg/xml/xpath/processor/zx_processor_main.h"

namespace {

// An opening parenthesis, which a context leaves behind, needs no connective.
const char *Connective(const CStringBuffer &condition) {
    return condition.length() > 0 && !condition.endsWith("(") ? " AND.T " : "";
}

const char *TypeTerm(ENodeType type, const CStringBuffer &condition) {
    switch (type) {
        case NTYPE_COMMENT:
            return "N_TYPE=COMMENT";
        case NTYPE_PROCESSING_INSTRUCTION:
            return "N_TYPE=PROCESSING_INSTRUCTION";
        case NTYPE_TEXT:
            return "N_TYPE=TEXT";
        case NTYPE_NODE:
        case NTYPE_INVALID:
            break;
    }
    // Beside another term "any node" adds nothing.
    const bool needed = condition.length() == 0 || condition.find("S=") >= 0;
    return needed ? "N_ID=$" : nullptr;
}

void AppendQuoted(CStringBuffer &condition, const char *field, const CStringBuffer &value) {
    condition.append(field).append("\"").append(BufferText(value)).append("\"");
}

void AppendName(CStringBuffer &condition, const XPathName &name) {
    condition.append(Connective(condition));
    CStringBuffer text(256);
    name.GetLocalName(text);
    AppendQuoted(condition, "N_NAME=", text);
    if (!name.HasNamespace()) return;
    name.GetNamespace(text);
    AppendQuoted(condition, " AND.T N_NAMESPACE=", text);
}

}  // namespace

void ZXProcessorMain::BuildNameCondition(XPathNodeTest *test, CStringBuffer &condition) const {
    if (test == nullptr) return;
    const auto *nameTest = dynamic_cast<const XPathNodeNameTest *>(test);
    if ((nameTest != nullptr || test->HasWildcard()) && condition.find("N_TYPE=") < 0) {
        condition.append(Connective(condition)).append("N_TYPE=ELEMENT");
    } else if (const auto *typeTest = dynamic_cast<const XPathNodeTypeTest *>(test)) {
        const char *term = TypeTerm(typeTest->GetNodeType(), condition);
        if (term != nullptr) condition.append(Connective(condition)).append(term);
        return;
    }
    if (nameTest != nullptr && nameTest->GetName() != nullptr) {
        AppendName(condition, *nameTest->GetName());
    }
}
