// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the fuzzer has seen flash_mng answer, as a measure of what its inputs reach: each answer to a call, after each answer to the call
// before.
#pragma once

#include <string_view>
#include <unordered_set>

#include "choices.hpp"

namespace torture {

class answers {
public:
	// A new input: what comes has nothing before it.
	void restart()
	{
		last_ = 0;
		found_ = false;
	}

	void add(std::string_view call, uint32_t code)
	{
		const uint64_t answer = mixed(std::hash<std::string_view>()(call) ^ code);
		found_ |= seen_.insert(mixed(last_) ^ answer).second;
		last_ = answer;
	}

	// Whether the input got an answer that is new where it stands.
	bool found_new() const { return found_; }
	std::size_t count() const { return seen_.size(); }

private:
	std::unordered_set<uint64_t> seen_;
	uint64_t last_ = 0;
	bool found_ = false;
};

} // namespace torture
