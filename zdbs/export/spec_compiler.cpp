#include "zdbs/export/spec_compiler.h"

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "zdbs/base/status.h"
#include "zdbs/export/spec_predicates.h"

namespace zdbs {
namespace {

std::unique_ptr<XPathStatement> parse(const std::string &text) {
    // A NUL would cut the text short for the parser.
    if (text.find('\0') != std::string::npos) throw SpecError("it holds a NUL character");
    ZXParserMain parser;
    CStringBuffer message(256);
    std::unique_ptr<XPathStatement> tree(parser.Parse(text.c_str(), &message));
    if (tree == nullptr) throw SpecError(textOf(message));
    return tree;
}

SpecPath compileAlternative(const XPathPath &path) {
    const XPathLocationStep *const first = path.Get(0);
    if (first == nullptr || first->GetStepParent() == XPATH_STEP_PARENT_NONE)
        throw SpecError("every path of it must begin with \"/\"");
    return compilePath(path, path.GetSize(), 0);
}

SpecPlan compile(const std::string &text) {
    // The grammar has no path without steps, so the node itself never gets there.
    if (text == "/") return SpecPlan(1);
    if (!text.starts_with('/')) throw SpecError("it must begin with \"/\"");
    const std::unique_ptr<XPathStatement> tree = parse(text);
    SpecPlan spec;
    if (const auto *const alternatives = dynamic_cast<const XPathUnionExpression *>(tree.get())) {
        for (int index = 0; index < alternatives->GetSize(); ++index)
            spec.push_back(compileAlternative(*alternatives->Get(index)));
    } else if (const auto *const path = dynamic_cast<const XPathPath *>(tree.get())) {
        spec.push_back(compileAlternative(*path));
    } else {
        throw SpecError("it is no path");
    }
    return spec;
}

}  // namespace

SpecPlan compileSpec(const std::string &text) {
    try {
        return compile(text);
    } catch (const SpecError &error) {
        std::string_view reason = error.what();
        if (reason.ends_with('.')) reason.remove_suffix(1);  // the sentence has its own
        throw Failure(Status::badFragmentSpec, {text.c_str(), reason});
    }
}

}  // namespace zdbs
