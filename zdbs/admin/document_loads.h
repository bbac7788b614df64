/** Documents on their way from files into a database, one transaction of them. */
#ifndef ZDBS_ADMIN_DOCUMENT_LOADS_H
#define ZDBS_ADMIN_DOCUMENT_LOADS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "zdbs/admin/progress.h"
#include "zdbs/admin/xml_sources.h"
#include "zdbs/base/status.h"
#include "zdbs/load/loader.h"

namespace zdbs::admin {

/** Bytes of all that is to be read; 0 when those of a part are not known. */
std::uint64_t totalSize(std::span<const XmlSource> sources);

/** "1 document", "2 031 documents" */
std::string documentsText(std::uint64_t count);

/**
 * The options with definitions of entities: those of "xhtml", of a file, or none where no name is
 * given. Throws Failure, as readEntities().
 */
LoadOptions withEntities(LoadOptions options, const std::string &name);

/** Loads documents and counts them. Heeds the stop of its thread. */
class DocumentLoads {
public:
    /** Both must outlive it. */
    DocumentLoads(Load &target, const LoadOptions &options) : loader_(target, options) {}

    /** Throws Failure, as Loader::load(). */
    void load(const XmlSource &source, Progress &progress);

    std::uint64_t documents() const { return documents_; }

    /** "Stored 3 documents, 12 345 nodes, 4.5 MB of XML in 2.1 s." */
    std::string summary() const;

private:
    using Clock = std::chrono::steady_clock;

    Loader loader_;
    Clock::time_point start_ = Clock::now();
    std::uint64_t read_ = 0;  ///< bytes of files
    std::uint64_t documents_ = 0;
    std::uint64_t nodes_ = 0;
    std::uint64_t xmlBytes_ = 0;
};

}  // namespace zdbs::admin

#endif
