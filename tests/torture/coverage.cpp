// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "coverage.hpp"

#include <linux/kcov.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace torture {

namespace {

constexpr std::size_t most_reached = 1 << 16; // of one input; later ones are not seen
constexpr std::size_t list_size = most_reached * sizeof(uint64_t);

void check(bool done)
{
	if (!done)
		throw std::runtime_error(std::string("KCOV: ") + std::strerror(errno));
}

} // namespace

coverage::coverage() : kcov_("/sys/kernel/debug/kcov")
{
	check(ioctl(kcov_.descriptor(), KCOV_INIT_TRACE, most_reached) == 0);
	void *const list = mmap(nullptr, list_size, PROT_READ | PROT_WRITE, MAP_SHARED, kcov_.descriptor(), 0);
	check(list != MAP_FAILED);
	reached_ = static_cast<uint64_t *>(list);
	check(ioctl(kcov_.descriptor(), KCOV_ENABLE, KCOV_TRACE_PC) == 0);
}

coverage::~coverage()
{
	ioctl(kcov_.descriptor(), KCOV_DISABLE, 0);
	munmap(reached_, list_size);
}

void coverage::restart()
{
	__atomic_store_n(&reached_[0], 0, __ATOMIC_RELAXED);
}

bool coverage::found_new()
{
	const std::size_t before = points_.size();
	const uint64_t count = __atomic_load_n(&reached_[0], __ATOMIC_RELAXED);
	points_.insert(reached_ + 1, reached_ + 1 + count);
	return points_.size() > before;
}

} // namespace torture
