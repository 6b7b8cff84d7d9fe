// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "kernel/memory.h"

namespace flash_mng {

// Memory of one kind, or none; released at the end of its life. Must be tested before use.
template <typename T, void (*release)(const void *)> class owned {
public:
	explicit owned(void *memory) : memory_(static_cast<T *>(memory)) {}
	owned(const owned &) = delete;
	owned &operator=(const owned &) = delete;
	~owned() { reset(); }

	explicit operator bool() const { return memory_ != nullptr; }
	T *get() const { return memory_; }
	T &operator*() const { return *memory_; }
	T *operator->() const { return memory_; }

	// Releases the memory now.
	void reset()
	{
		if (memory_)
			release(hand_over());
	}

	// Gives the memory to a new owner.
	T *hand_over()
	{
		T *const memory = memory_;
		memory_ = nullptr;
		return memory;
	}

private:
	T *memory_;
};

template <typename T> using heap_memory = owned<T, kfree>;
template <typename T> using virtual_memory = owned<T, vfree>;

// Bytes for images and transfers of any length.
using virtual_buffer = virtual_memory<u8>;

} // namespace flash_mng
