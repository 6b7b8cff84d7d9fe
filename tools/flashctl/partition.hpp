// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// From a partition's name to a range of it. Every function throws a failure.
#pragma once

#include "commands.hpp"

namespace flashctl {

void open_device(workplace &place);

std::vector<mtd_device> all_devices(workplace &place);

// The device of that name; when there is none, the failure suggests similar ones.
mtd_device find_device(workplace &place, const std::string &name);

// The same, and the module serves it.
mtd_device find_listed(workplace &place, const std::string &name);

// The same, and the kernel lets it be written.
mtd_device find_writable(workplace &place, const std::string &name);

// Bytes of a partition that can be read: without its bad blocks, and at most those that 32 bits count.
std::uint32_t readable_size(workplace &place, const mtd_device &device);

// A range within the device. Its length is the one asked for, or else `length`.
range range_within(const mtd_device &device, const range_request &request, std::uint64_t length);

// The same, and within the usable bytes where these are known.
range writable_range(const mtd_device &device, const range_request &request, std::uint64_t length);

// The bytes of a range. With `expected`, each byte begins as something else: one that the module left out is not taken for a right one.
bytes read_range(workplace &place, const range &wanted, byte_view expected = {});

// Data for a range: from a file, or from standard input when the path is "-". Exactly `length` bytes of it when that is asked for; refused
// when empty or more than fits behind the offset.
bytes take_data(workplace &place, const std::string &path, const mtd_device &device, const range_request &request);

} // namespace flashctl
