/** The names of a database while it is written: each distinct one has a number. */
#ifndef ZDBS_EMBEDDED_STORE_NAME_DICTIONARY_H
#define ZDBS_EMBEDDED_STORE_NAME_DICTIONARY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zdbs/embedded/tree/node_table.h"

namespace zdbs::embedded {

/**
 * Numbers run from 0 without gaps in the order of first use. A namespace
 * declaration is a name too: one with prefix and URI and no local part.
 */
class NameDictionary {
public:
    /** Takes over the next name of the database, as its record. */
    void addStored(std::string_view record);

    /** The number of a name, a new one when it is not known yet. */
    std::uint32_t numberOf(const NodeName &name);

    std::size_t size() const { return records_.size(); }

    /** Forgets all names from that number on. */
    void truncate(std::size_t size);

    /** The record of a name, as records.h writes it. */
    const std::string &record(std::size_t number) const { return *records_[number]; }

private:
    std::unordered_map<std::string, std::uint32_t> numbers_;  ///< by record
    std::vector<const std::string *> records_;                ///< keys of numbers_
    std::string scratch_;
};

}  // namespace zdbs::embedded

#endif
