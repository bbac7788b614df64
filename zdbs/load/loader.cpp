#include "zdbs/load/loader.h"

#include "zdbs/base/status.h"
#include "zdbs/load/document_reader.h"

namespace zdbs {

DocumentSize Loader::load(Input &input, std::string_view file, std::string_view document) {
    target_.beginDocument(document);
    try {
        DocumentReader reader(target_, options_, file);
        const DocumentSize size = reader.read(input, report_);
        target_.endDocument(size.xmlBytes);
        return size;
    } catch (...) {
        try {
            target_.abandonDocument();
        } catch (const Failure &) {
            // Where the store fails it did so before; the first failure is the one to tell.
        }
        throw;
    }
}

}  // namespace zdbs
