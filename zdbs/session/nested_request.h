/**
 * An XPath request run inside the kernel, for the export filter: through the
 * same processor as the shell's requests, with a set table of its own, so that
 * the session's sets and settings stay as they are.
 */
#ifndef ZDBS_SESSION_NESTED_REQUEST_H
#define ZDBS_SESSION_NESTED_REQUEST_H

#include <memory>
#include <string_view>
#include <vector>

#include "zdbs/engine/hits.h"
#include "zdbs/engine/node_table.h"

namespace zdbs {

class Session;

/** The answer of a nested request; valid as long as `nodes` is held. */
struct RequestAnswer {
    std::shared_ptr<const NodeTable> nodes;  ///< the snapshot that the request saw
    std::vector<NodeId> matches;             ///< ascending, that is in document order
    std::unique_ptr<HitRanges> hits;         ///< where its value conditions hit
};

/**
 * Runs `request` (UTF-8) on the open database of `session`.
 * Throws Failure: noDatabase; requestFailed with the message of the parser, the
 * translation or the kernel.
 */
RequestAnswer runNestedRequest(Session &session, std::string_view request);

}  // namespace zdbs

#endif
