#ifndef TESTS_PRG_XML_XPATH_PROCESSOR_RAISED_MESSAGE_H
#define TESTS_PRG_XML_XPATH_PROCESSOR_RAISED_MESSAGE_H

#include <memory>
#include <string>
#include <vector>

#include "prg/xml/xpath/parser/xpath_exception.h"

// What `action` raises: the whole message, or "(nothing raised)".
template <typename Action>
std::string raisedMessage(Action &&action) {
    try {
        action();
    } catch (XPathException *raised) {
        const std::unique_ptr<XPathException> exception(raised);
        std::vector<char> text(1 << 16);
        exception->GetErrorMessage(text.data(), static_cast<int>(text.size()));
        return text.data();
    }
    return "(nothing raised)";
}

#endif
