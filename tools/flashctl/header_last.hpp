// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// write --last: the header of an image is on the flash only while all the rest of the image is. The old header is made invalid first (its
// bytes become 0xff, as those of erased flash), then the rest is written and compared, then the header.
//
// That holds as long as a write leaves the erase blocks alone that it does not change, and the header shares none with the rest.
#pragma once

#include "writing.hpp"

namespace flashctl {

// Refused where it does not hold, with the smallest header that would do, and where the header is nothing or all of the image. Before the
// first write.
void check_header(workplace &place, const range &written, byte_view data, std::uint32_t header);

// Adds to the work ahead what these steps move beyond a plain write.
void expect_header_last(workplace &place, const range &written, std::uint32_t header);

// The steps. Those whose bytes are on the flash already are left out; resume: so are erase blocks of the rest. Afterwards the header and
// the rest are on the flash, and the rest was compared. A failure tells what is there.
void write_header_last(workplace &place, const range &written, byte_view data, std::uint32_t header, const picture &taken, bool resume);

} // namespace flashctl
