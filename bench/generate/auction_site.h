/** A large document: the site of an auction house. */
#ifndef BENCH_GENERATE_AUCTION_SITE_H
#define BENCH_GENERATE_AUCTION_SITE_H

#include <cstdint>

#include "bench/generate/document_output.h"

namespace bench {

/**
 * Writes a document of about `size` bytes, the same for the same seed: items by
 * region, categories and edges between them, people, open and closed auctions that
 * refer to them. Two thirds of it are prose with marked words. A document of 111 MB
 * has 21 750 items, 1 000 categories, 25 500 people, 12 000 open and 9 750 closed
 * auctions; others have their share of that.
 */
void writeAuctionSite(DocumentOutput &out, std::uint64_t size, std::uint64_t seed);

}  // namespace bench

#endif
