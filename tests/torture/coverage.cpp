// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "coverage.hpp"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <linux/kcov.h>

#include "choices.hpp"

namespace torture {

namespace {

constexpr std::size_t trace_words = 16384;
constexpr std::size_t table_size = 1 << 16;

} // namespace

coverage::coverage() : file_(open("/sys/kernel/debug/kcov", O_RDWR | O_CLOEXEC)), steps_(table_size), seen_(table_size)
{
	if (file_ < 0 || ioctl(file_, KCOV_INIT_TRACE, trace_words))
		return;
	void *memory = mmap(nullptr, trace_words * sizeof(uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0);
	if (memory != MAP_FAILED && ioctl(file_, KCOV_ENABLE, KCOV_TRACE_PC) == 0)
		trace_ = static_cast<uint64_t *>(memory);
}

coverage::~coverage()
{
	if (trace_) {
		ioctl(file_, KCOV_DISABLE, 0);
		munmap(trace_, trace_words * sizeof(uint64_t));
	}
	if (file_ >= 0)
		close(file_);
}

void coverage::restart()
{
	if (trace_)
		__atomic_store_n(&trace_[0], 0, __ATOMIC_RELAXED);
}

bool coverage::take()
{
	if (!trace_)
		return false;
	bool found = false;
	uint64_t last = 0;
	const uint64_t count = __atomic_load_n(&trace_[0], __ATOMIC_RELAXED);
	for (uint64_t i = 1; i <= count && i < trace_words; ++i) {
		const uint64_t place = mixed(trace_[i]);
		const std::size_t step = (place ^ last >> 1) % table_size;
		found |= !steps_[step];
		steps_[step] = true;
		places_ += !seen_[place % table_size];
		seen_[place % table_size] = true;
		last = place;
	}
	return found;
}

} // namespace torture
