// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "kernel/spinlock.h"

namespace flash_mng {

// Holds a spinlock for its own life.
class LOCK_HOLDER spin_guard {
public:
	explicit spin_guard(spinlock &lock) TAKES(lock) : lock_(lock) { linux_spin_lock(&lock_); }
	spin_guard(const spin_guard &) = delete;
	spin_guard &operator=(const spin_guard &) = delete;
	~spin_guard() GIVES_BACK() { linux_spin_unlock(&lock_); }

private:
	spinlock &lock_;
};

} // namespace flash_mng
