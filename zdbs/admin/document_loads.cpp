#include "zdbs/admin/document_loads.h"

#include "zdbs/answers/sizes.h"
#include "zdbs/base/stop.h"
#include "zdbs/load/entity_definitions.h"

namespace zdbs::admin {

std::uint64_t totalSize(std::span<const XmlSource> sources) {
    std::uint64_t total = 0;
    for (const XmlSource &source : sources) {
        if (!source.size) return 0;
        total += *source.size;
    }
    return total;
}

std::string documentsText(std::uint64_t count) {
    return countText(count) + (count == 1 ? " document" : " documents");
}

LoadOptions withEntities(LoadOptions options, const std::string &name) {
    if (name.empty()) return options;
    const std::string definitions = name == "xhtml" ? xhtmlEntities() : readEntities(name);
    options.entities = std::make_shared<const std::string>(definitions);
    return options;
}

void DocumentLoads::load(const XmlSource &source, Progress &progress) {
    heedStop();
    const std::uint64_t before = read_;
    loader_.onProgress([&](const Input &at) {
        heedStop();
        read_ = before + at.consumed();
        progress.update(read_);
    });
    try {
        const auto input = source.open();
        const DocumentSize size = loader_.load(*input, source.label, source.document);
        ++documents_;
        nodes_ += size.nodes;
        xmlBytes_ += size.xmlBytes;
    } catch (const Failure &) {
        if (source.size) read_ = before + *source.size;
        throw;
    }
    if (source.size) read_ = before + *source.size;
}

std::string DocumentLoads::summary() const {
    return "Stored " + documentsText(documents_) + ", " + countText(nodes_) +
           (nodes_ == 1 ? " node, " : " nodes, ") + sizeText(xmlBytes_) + " of XML in " +
           secondsText(Clock::now() - start_) + ".";
}

}  // namespace zdbs::admin
