/** Byte strings as LMDB takes and gives them. */
#ifndef ZDBS_EMBEDDED_STORE_LMDB_VALUES_H
#define ZDBS_EMBEDDED_STORE_LMDB_VALUES_H

#include <lmdb.h>

#include <string_view>

namespace zdbs::embedded {

inline MDB_val toVal(std::string_view bytes) {
    // LMDB takes keys and records through pointers to non-const and leaves them alone.
    return {bytes.size(), const_cast<char *>(bytes.data())};
}

inline std::string_view toView(const MDB_val &value) {
    return {static_cast<const char *>(value.mv_data), value.mv_size};
}

}  // namespace zdbs::embedded

#endif
