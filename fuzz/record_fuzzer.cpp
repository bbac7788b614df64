// Records of the catalogue: bytes of any kind are one of a table or none; what is one is written
// as it was read. The first byte says of which table.
#include <optional>
#include <string>

#include "fuzz/fuzzing.h"
#include "zdbs/embedded/store/records.h"

namespace {

using namespace zdbs::embedded;

/** What is read is written, and read as the same once more. */
template <typename Decode, typename Encode>
void comeBack(std::string_view bytes, Decode decode, Encode encode) {
    const auto record = decode(bytes);
    if (!record) return;
    const std::string again = encode(*record);
    const auto reread = decode(again);
    fuzzing::require(reread && encode(*reread) == again, "A record is read as another one.");
}

std::string encodedName(const zdbs::NodeName &name) {
    std::string bytes;
    encodeName(bytes, name);
    return bytes;
}

void unseal(fuzzing::Bytes input) {
    if (input.empty()) return;
    const auto table = static_cast<Table>(fuzzing::taken(input, 1)[0] % tableCount);
    const std::string_view key = fuzzing::textOf(fuzzing::taken(input, 4));
    const std::string_view record = fuzzing::textOf(input);
    unsealed(table, key, record);
    const std::string bytes = sealed(table, key, record);
    fuzzing::require(unsealed(table, key, bytes) == record, "A seal breaks by itself.");
}

}  // namespace

void fuzz(fuzzing::Bytes input) {
    if (input.empty()) return;
    const int which = fuzzing::taken(input, 1)[0] % 9;
    const std::string_view bytes = fuzzing::textOf(input);
    if (which == 0) comeBack(bytes, decodeKey, encodeKey);
    if (which == 1) comeBack(bytes, decodeState, encodeState);
    if (which == 2) comeBack(bytes, decodeDocument, encodeDocument);
    if (which == 3) comeBack(bytes, decodeName, encodedName);
    if (which == 4) comeBack(bytes, decodePath, encodePath);
    if (which == 5) comeBack(bytes, decodeSegment, encodeSegment);
    if (which == 6) comeBack(bytes, decodeLongElements, encodeLongElements);
    if (which == 7) comeBack(bytes, decodeRecords, encodeRecords);
    if (which == 8) unseal(input);
}
