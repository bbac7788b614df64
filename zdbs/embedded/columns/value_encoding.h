/** The encodings of columns of values. */
#ifndef ZDBS_EMBEDDED_COLUMNS_VALUE_ENCODING_H
#define ZDBS_EMBEDDED_COLUMNS_VALUE_ENCODING_H

#include <cstdint>

namespace zdbs::embedded {

/** As they stand on disk; value_layout.h has the bytes. */
enum class ValueEncoding : std::uint8_t { shortValues = 0, plain = 1, dictionary = 2 };

}  // namespace zdbs::embedded

#endif
