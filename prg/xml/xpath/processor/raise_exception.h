// Raising the errors of the processor.
#ifndef PRG_XML_XPATH_PROCESSOR_RAISE_EXCEPTION_H
#define PRG_XML_XPATH_PROCESSOR_RAISE_EXCEPTION_H

#include <cstdint>
#include <string>
#include <string_view>

// Throws a new XPathException with `message`, by pointer: who catches it deletes it.
[[noreturn]] void RaiseXPathException(const char *message);
[[noreturn]] void RaiseXPathException(const std::string &message);

// The same with "%s" in `pattern` replaced by `text`, of any length.
[[noreturn]] void RaiseXPathException(std::string_view pattern, std::string_view text);

// The same with the kernel's sentence for a failed status.
[[noreturn]] void RaiseKernelError(std::int32_t status);

#endif
