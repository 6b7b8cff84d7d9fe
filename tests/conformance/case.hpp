// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What every conformance case stands on: a board fresh from power-on, and words for the things it expects.
//
// A test suite is named after the subsystem that it checks: frame_..., config_..., datapath_..., ioctl_..., spi_... .
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "harness.hpp"
#include "interface_words.hpp"

namespace harness {

inline void PrintTo(const log_line &line, std::ostream *out)
{
	*out << "(" << line.module_id << ", " << line.level << ", \"" << line.text << "\")";
}

inline void PrintTo(const holdings &held, std::ostream *out)
{
	*out << "heap " << held.heap << ", virtual " << held.virtual_memory << ", MTD " << held.mtd_references << ", files "
	     << held.open_files << ", locks " << held.locks;
}

} // namespace harness

namespace conformance {

using harness::access;
using harness::bytes;
using harness::log_line;
using harness::mtd_spec;

inline constexpr uint32_t default_instance = 0xFFFFFFFF;

// Where messages go, and how serious they are.
inline constexpr uint32_t common = 0, own = 27;
inline constexpr uint32_t serious = 1, ordinary = 2, trace = 3;

inline log_line own_log(uint32_t level, std::string text)
{
	return {own, level, std::move(text)};
}

inline log_line common_log(uint32_t level, std::string text)
{
	return {common, level, std::move(text)};
}

using log_lines = std::vector<log_line>;
using call_list = std::vector<std::string>;

// The calls seen so far, less those whose names are given.
inline call_list calls_without(std::initializer_list<std::string_view> names)
{
	call_list kept = harness::calls();
	std::erase_if(kept, [&](const std::string &call) {
		return std::any_of(names.begin(), names.end(), [&](std::string_view name) {
			return call.size() > name.size() && call.starts_with(name) && call[name.size()] == '(';
		});
	});
	return kept;
}

// The calls seen so far without messages: what the module did.
inline call_list deeds()
{
	return calls_without({"drv_log_record"});
}

inline bool called(std::string_view name)
{
	const call_list all = harness::calls();
	return std::any_of(all.begin(), all.end(), [&](const std::string &call) {
		return call.size() > name.size() && call.starts_with(name) && call[name.size()] == '(';
	});
}

// A call of the module by a thread of its own.
class call_beside {
public:
	explicit call_beside(const std::function<uint32_t()> &call) : caller_([this, call] { code_ = call(); }) {}
	call_beside(const call_beside &) = delete;
	call_beside &operator=(const call_beside &) = delete;
	~call_beside() { code(); }

	// Waits for its end.
	uint32_t code()
	{
		if (caller_.joinable())
			caller_.join();
		return code_;
	}

private:
	uint32_t code_ = failed;
	std::thread caller_;
};

// Waits until the module makes the n-th call of a function since the last forget(); false after a minute or more.
inline bool comes_to_call(std::string_view name, long nth = 1)
{
	for (int tries = 0; tries < 60'000; ++tries) {
		const call_list all = harness::calls();
		if (nth <= std::count_if(all.begin(), all.end(), [&](const std::string &call) {
			    return call.size() > name.size() && call.starts_with(name) && call[name.size()] == '(';
		    }))
			return true;
		std::this_thread::sleep_for(std::chrono::milliseconds(1));
	}
	return false;
}

// A call of the module that stops before its first call of a function, until it is let go.
class stopped_call {
public:
	stopped_call(std::string_view function, const std::function<uint32_t()> &call) : call_(armed(function, call))
	{
		EXPECT_TRUE(comes_to_call(function)) << "it does not come to " << function;
	}
	stopped_call(const stopped_call &) = delete;
	stopped_call &operator=(const stopped_call &) = delete;
	~stopped_call() { let_go(); }

	// Its code. Other armed faults are disarmed too.
	uint32_t let_go()
	{
		harness::go_on();
		return call_.code();
	}

private:
	static const std::function<uint32_t()> &armed(std::string_view function, const std::function<uint32_t()> &call)
	{
		harness::forget();
		harness::stop_at(function);
		return call;
	}

	call_beside call_;
};

// `count` bytes that tell their position: byte i is a mix of i and the seed. Optimised in every build: the cases make megabytes of it.
inline bytes pattern(std::size_t count, uint32_t seed = 1)
{
	bytes made(count);
	uint8_t *const out = made.data();
	for (std::size_t i = 0; i < count; ++i)
		out[i] = static_cast<uint8_t>((i * 31 + (i >> 8) * 7 + seed * 97) ^ (i >> 16));
	return made;
}

// A case on a board right after power-on. At its end nothing may be held and the board is put back.
class on_board : public testing::Test {
protected:
	void SetUp() override { harness::reset(); }

	void TearDown() override
	{
		if (harness::loaded())
			harness::unload();
		EXPECT_EQ(harness::held(), expected_leak_) << "the module kept something that it should have given back";
		harness::reset();
	}

	// For the paths that deliberately keep memory.
	void expect_leak(harness::holdings leak) { expected_leak_ = leak; }

private:
	harness::holdings expected_leak_ = {};
};

// A case on a loaded module with the log and the calls of the load forgotten.
class on_loaded_module : public on_board {
protected:
	void SetUp() override
	{
		on_board::SetUp();
		prepare();
		ASSERT_EQ(harness::load(), 0u);
		harness::forget();
	}

	// What must be there before the load: MTD devices, a configuration.
	virtual void prepare() {}
};

#define CONFORMANCE_HOST_ONLY(reason)                                                                                                      \
	if (harness::world() != harness::world_kind::host)                                                                                 \
	GTEST_SKIP() << "host only: " << reason
#define CONFORMANCE_GUEST_ONLY(reason)                                                                                                     \
	if (harness::world() != harness::world_kind::guest)                                                                                \
	GTEST_SKIP() << "guest only: " << reason

} // namespace conformance
