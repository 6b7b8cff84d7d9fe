// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "kernel/list.h"
#include "kernel/thread_safety.h"

namespace flash_mng {

// The records of one of Linux's lists, which have their links in a member named "link". A record may be freed once its iterator is at the
// next one.
template <typename record> class list_of {
public:
	class iterator {
	public:
		explicit iterator(list_head *link) : link_(link) {}

		record &operator*() const { return *reinterpret_cast<record *>(reinterpret_cast<char *>(link_) - offsetof(record, link)); }
		iterator &operator++()
		{
			link_ = link_->next;
			return *this;
		}
		bool operator==(const iterator &other) const { return link_ == other.link_; }

	private:
		list_head *link_;
	};

	explicit list_of(list_head &head) : head_(head) {}

	iterator begin() const { return iterator(head_.next); }
	iterator end() const { return iterator(&head_); }

	// The first record that fits, or NULL. Under whatever lock the list asks for.
	template <typename predicate> record *first(predicate fits) const NOT_SHARED
	{
		for (record &one : *this)
			if (fits(one))
				return &one;
		return nullptr;
	}

private:
	list_head &head_;
};

} // namespace flash_mng
