// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The explorer on programs of a few steps, whose schedules can be counted by hand.
#include <gtest/gtest.h>

#include <set>

#include "explorer.hpp"
#include "kernel/lock.h"
#include "kernel/memory.h"

namespace schedules {
namespace {

class explorer_test : public testing::Test {
protected:
	// All schedules of some works; each end is told by the text.
	counts explore(std::vector<std::function<void()>> works, std::function<std::string()> end, reduction how = reduction::by_dependence,
		       std::optional<unsigned> preemptions = std::nullopt)
	{
		explorer all(
			turns_,
			[&] {
				turns_.power_on();
				begin();
				for (const auto &work : works)
					turns_.add(work);
			},
			[&](std::uint64_t) {
				if (!turns_.is_broken() && turns_.all_over())
					ends_.insert(end());
				deadlocks_ += !turns_.is_broken() && !turns_.all_over();
				for (const std::string &one : turns_.findings())
					findings_.insert(one);
				return true;
			});
		return all.run(how, UINT64_MAX, preemptions);
	}

	// A step that stores or loads a place that is no memory.
	void touch(address place, bool write) { turns_.touch({things * 20 + place, 1, write, true}); }
	void step(address place, bool write)
	{
		turns_.pause("step");
		touch(place, write);
	}
	virtual void begin() {}

	turns turns_;
	std::set<std::string> ends_, findings_;
	unsigned deadlocks_ = 0;
};

TEST_F(explorer_test, steps_that_have_nothing_in_common_need_one_schedule)
{
	const auto work = [this](address place) {
		return [this, place] {
			for (int i = 0; i < 5; ++i)
				step(place, true);
		};
	};
	EXPECT_EQ(explore({work(1), work(2), work(3)}, [] { return ""; }).schedules, 1u);
}

TEST_F(explorer_test, loads_of_one_place_need_one_schedule)
{
	const auto work = [this] {
		step(1, false);
		step(1, false);
	};
	EXPECT_EQ(explore({work, work}, [] { return ""; }).schedules, 1u);
}

// Two steps each, of which every order matters: 4 over 2.
TEST_F(explorer_test, stores_to_one_place_need_every_order)
{
	const auto work = [this] {
		step(1, true);
		step(1, true);
	};
	EXPECT_EQ(explore({work, work}, [] { return ""; }).schedules, 6u);
	EXPECT_EQ(explore({work, work, work}, [] { return ""; }).schedules, 90u);
}

TEST_F(explorer_test, without_reduction_every_order_is_a_schedule)
{
	const auto work = [this](address place) { return [this, place] { step(place, true); }; };
	EXPECT_EQ(explore(
			  {work(1), work(2)}, [] { return ""; }, reduction::none)
			  .schedules,
		  6u); // each begins, then makes its step
	EXPECT_EQ(explore(
			  {work(1), work(2)}, [] { return ""; }, reduction::none, 0)
			  .schedules,
		  2u);
}

// A count that two callers load and store: lost updates are among the ends, and the ends are those of all orders.
TEST_F(explorer_test, the_reduction_finds_each_end)
{
	static unsigned count;
	const auto work = [this] {
		step(1, false);
		const unsigned loaded = count;
		step(1, true);
		count = loaded + 1;
	};
	struct fresh {
		static std::string text()
		{
			const std::string made = std::to_string(count);
			count = 0;
			return made;
		}
	};
	count = 0;
	const counts reduced = explore({work, work, work}, fresh::text);
	const auto by_dependence = std::exchange(ends_, {});
	count = 0;
	const counts all = explore({work, work, work}, fresh::text, reduction::none);
	EXPECT_EQ(by_dependence, (std::set<std::string>{"1", "2", "3"}));
	EXPECT_EQ(ends_, by_dependence);
	EXPECT_LT(reduced.schedules, all.schedules / 10);
}

class explorer_with_locks : public explorer_test {
protected:
	void begin() override
	{
		linux_mutex_init(&lock_, "lock");
		linux_semaphore_init(&semaphore_, 1);
	}

	mutex lock_;
	semaphore semaphore_;
};

TEST_F(explorer_with_locks, a_lock_leaves_two_orders)
{
	const auto work = [this] {
		linux_mutex_lock(&lock_);
		step(1, true);
		step(1, true);
		mutex_unlock(&lock_);
	};
	EXPECT_EQ(explore({work, work}, [] { return ""; }).schedules, 2u);
	EXPECT_EQ(explore({work, work, work}, [] { return ""; }).schedules, 6u);
	EXPECT_EQ(deadlocks_, 0u);
	EXPECT_TRUE(findings_.empty());
}

TEST_F(explorer_with_locks, who_waits_for_itself_waits_for_ever)
{
	explore({[this] {
			linux_mutex_lock(&lock_);
			linux_mutex_lock(&lock_);
		}},
		[] { return ""; });
	EXPECT_EQ(deadlocks_, 1u);
}

TEST_F(explorer_with_locks, two_locks_at_once_are_found)
{
	explore({[this] {
			linux_mutex_lock(&lock_);
			down_killable(&semaphore_);
		}},
		[] { return ""; });
	ASSERT_EQ(findings_.size(), 1u);
	EXPECT_NE(findings_.begin()->find("no two locks are ever held together"), std::string::npos);
}

// The one that is killed gives up, gets the semaphore before it is killed, or is killed where it does not wait.
TEST_F(explorer_with_locks, a_killed_caller_gives_up_only_where_it_waits)
{
	static int result;
	const counts seen = explore({[this] {
					     result = down_killable(&semaphore_);
					     if (result == 0)
						     up(&semaphore_);
				     },
				     [this] {
					     down_killable(&semaphore_);
					     step(1, true);
					     up(&semaphore_);
				     },
				     [this] { turns_.kill(0); }},
				    [] { return std::to_string(result); });
	EXPECT_EQ(ends_, (std::set<std::string>{"0", "-4"}));
	EXPECT_GE(seen.schedules, 4u);
	EXPECT_EQ(deadlocks_, 0u);
}

class explorer_with_memory : public explorer_test {
protected:
	void begin() override { memory_ = static_cast<char *>(linux_kzalloc(8)); }
	void load() { turns_.module_touches(memory_, 8, false); }
	void store() { turns_.module_touches(memory_, 8, true); }

	char *memory_ = nullptr;
};

TEST_F(explorer_with_memory, an_access_after_the_memory_was_freed_is_found)
{
	explore({[this] {
			 turns_.pause("use");
			 load();
		 },
		 [this] { kfree(memory_); }},
		[] { return ""; });
	EXPECT_TRUE(findings_.contains("broken rule: a load from 8 bytes of memory that was freed or never allocated"));
}

TEST_F(explorer_with_memory, accesses_that_nothing_orders_are_found_and_loads_may_meet)
{
	explore({[this] { load(); }, [this] { load(); }}, [] { return ""; });
	EXPECT_TRUE(findings_.empty());
	explore({[this] { load(); }, [this] { store(); }}, [] { return ""; });
	EXPECT_EQ(findings_, (std::set<std::string>{"nothing orders two accesses of memory of the module"}));
}

} // namespace
} // namespace schedules
