/** Inputs that unpack another input. */
#ifndef ZDBS_LOAD_UNPACKED_INPUT_H
#define ZDBS_LOAD_UNPACKED_INPUT_H

#include <memory>
#include <string>

#include "zdbs/load/input.h"

namespace zdbs {

/** A gzip file, of one member or several, zeros behind them allowed. `name` is what messages call
 * it. */
std::unique_ptr<Input> unpackGzip(std::unique_ptr<Input> packed, std::string name);

/** A zstd file, of one frame or several, with windows of up to 128 MiB. */
std::unique_ptr<Input> unpackZstd(std::unique_ptr<Input> packed, std::string name);

}  // namespace zdbs

#endif
