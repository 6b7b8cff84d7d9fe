// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The commands. Each takes a request and gives what came of it, or throws a failure. None prints its result.
#pragma once

#include <chrono>
#include <cstdint>

#include "console.hpp"
#include "flash.hpp"
#include "outcome.hpp"
#include "request.hpp"

namespace flashctl {

// Bytes that the transfers of a command move, and the time that the ended ones took.
struct work_ahead {
	std::uint64_t done = 0;
	std::uint64_t total = 0; // 0: not known; an upper limit where a write may prove to be unnecessary
	std::chrono::microseconds taken = {};
};

// What a command works with. The flash is not opened yet.
struct workplace {
	flashctl::flash &flash;
	flashctl::console &console;
	const flashctl::options &options;
	work_ahead work = {};
};

outcome run_command(const list_request &request, workplace &place);
outcome run_command(const info_request &request, workplace &place);
outcome run_command(const map_request &request, workplace &place);
outcome run_command(const read_request &request, workplace &place);
outcome run_command(const verify_request &request, workplace &place);
outcome run_command(const write_request &request, workplace &place);
outcome run_command(const backup_request &request, workplace &place);
outcome run_command(const restore_request &request, workplace &place);
outcome run_command(const spi_request &request, workplace &place);
outcome run_command(const explain_request &request, workplace &place);

} // namespace flashctl
