#include "zdbs/load/loader.h"

#include "zdbs/base/status.h"
#include "zdbs/load/document_reader.h"

namespace zdbs {

void Loader::load(Input &input, std::string_view file, std::string_view document) {
    writer_.beginDocument(document);
    try {
        DocumentReader reader(writer_, options_, file);
        writer_.endDocument(reader.read(input, report_));
    } catch (...) {
        try {
            writer_.abandonDocument();
        } catch (const Failure &) {
            // Where the store fails it did so before; the first failure is the one to tell.
        }
        throw;
    }
}

}  // namespace zdbs
