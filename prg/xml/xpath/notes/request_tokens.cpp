#include "prg/xml/xpath/notes/request_tokens.h"

#include <memory>

#include "foundation/memory.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/parser/zx_parser_main.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

namespace notes {
namespace {

/** A scanner over a text of its own, so that it is known where a token stands. */
class Scan : private ZXParserMain {
public:
    explicit Scan(std::string_view request) : request_(request), text_(request) {
        if (xpath_lex_init_extra(this, &m_scanner) != 0) ZfxOutOfMemory();
        text_.append(2, '\0');
        xpath__scan_buffer(text_.data(), text_.size(), m_scanner);
    }

    Token next() {
        XPATH_STYPE value;
        const int code = xpath_lex(&value, m_scanner);
        if (code <= 0) return {code, request_.substr(request_.size())};
        return {code,
                request_.substr(place(), static_cast<std::size_t>(xpath_get_leng(m_scanner)))};
    }

    std::optional<std::size_t> syntaxError() {
        XPathStatement *tree = nullptr;
        const bool isRequest = xpath_parse(&tree, m_scanner) == 0;
        const std::unique_ptr<XPathStatement> owned(tree);
        if (isRequest) return std::nullopt;
        return place();
    }

private:
    std::size_t place() {
        const auto at = static_cast<std::size_t>(xpath_get_text(m_scanner) - text_.data());
        return std::min(at, request_.size());
    }

    std::string_view request_;
    std::string text_;
};

}  // namespace

std::vector<Token> tokensOf(std::string_view request) {
    Scan scan(request);
    std::vector<Token> tokens;
    for (Token token = scan.next(); token.code > 0; token = scan.next())
        tokens.push_back(token);
    return tokens;
}

std::optional<std::size_t> syntaxErrorIn(std::string_view request) {
    return Scan(request).syntaxError();
}

}  // namespace notes
