/**
 * Keys and records of the tables of a database; docs/store.md has the whole
 * list. Keys are big-endian, so that their order is the order of the numbers;
 * what stands in records is little-endian.
 */
#ifndef ZDBS_STORE_RECORDS_H
#define ZDBS_STORE_RECORDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/node_table.h"

namespace zdbs {

/** The format that this code reads and writes; another one is refused. */
constexpr std::uint32_t formatVersion = 1;

constexpr std::string_view versionKey = "version";
constexpr std::string_view stateKey = "state";

/** The record under stateKey: what of the other tables counts. */
struct StateRecord {
    std::uint64_t state = 0;  ///< grows by one with every commit
    std::uint64_t documents = 0;
    std::uint64_t nodes = 0;
    std::uint32_t nextNode = 1;  ///< the first number never given; records from here on are void
    std::uint32_t nameCount = 0;
};

struct DocumentRecord {
    NodeId last = noNode;
    std::uint64_t xmlBytes = 0;
    std::string_view name;
};

/** An element that ends in a later block than the one it is in. */
struct LongElement {
    NodeId node;
    NodeId last;
};

std::string encodeKey(std::uint32_t number);
std::optional<std::uint32_t> decodeKey(std::string_view key);

/** Key of the documents whose names have this hash (64-bit FNV-1a). */
std::string documentNameKey(std::string_view document);

// Each decoder answers nothing when the bytes cannot be such a record; views
// in the answer point into the bytes.
std::string encodeNumber(std::uint32_t number);
std::optional<std::uint32_t> decodeNumber(std::string_view bytes);
std::string encodeState(const StateRecord &state);
std::optional<StateRecord> decodeState(std::string_view bytes);
std::string encodeDocument(const DocumentRecord &document);
std::optional<DocumentRecord> decodeDocument(std::string_view bytes);
void encodeName(std::string &bytes, const NodeName &name);  // replaces what is in `bytes`
std::optional<NodeName> decodeName(std::string_view bytes);
std::string encodeLongElements(const std::vector<LongElement> &elements);
std::optional<std::vector<LongElement>> decodeLongElements(std::string_view bytes);
std::string encodeNumbers(const std::vector<std::uint32_t> &numbers);
std::optional<std::vector<std::uint32_t>> decodeNumbers(std::string_view bytes);

}  // namespace zdbs

#endif
