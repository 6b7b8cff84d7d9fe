// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Several users of the registry at once.
#include <atomic>
#include <set>
#include <thread>

#include "ioctl_words.hpp"
#include "spi_words.hpp"

namespace conformance {
namespace {

constexpr int rounds = 60;

// Runs the jobs side by side; each gives the number of results that it did not expect.
void run(const std::vector<std::function<int()>> &jobs)
{
	std::atomic<int> unexpected = 0;
	std::vector<std::thread> threads;
	for (const auto &job : jobs)
		threads.emplace_back([&unexpected, &job] { unexpected += job(); });
	for (std::thread &thread : threads)
		thread.join();
	EXPECT_EQ(unexpected, 0);
}

std::function<int()> repeatedly(const std::function<bool()> &as_expected)
{
	return [as_expected] {
		int unexpected = 0;
		for (int round = 0; round < rounds; ++round)
			unexpected += !as_expected();
		return unexpected;
	};
}

void release_all()
{
	for (uint64_t record : records())
		harness::call("release_flash_info_alloc", {record});
}

// A lookup that can be asked again and again; an answer must be that of the flash and whole.
class lookup {
public:
	lookup(uint32_t command, const settings &flash, std::string_view name)
		: command_(command), expected_(in_memory(flash)), name_(bytes(name.begin(), name.end())), record_(56, 0)
	{
		const uint32_t length = static_cast<uint32_t>(name.size());
		const uint64_t address = name_.address();
		std::memcpy(at(0), &flash.inst_id, 4);
		std::memcpy(at(12), &length, 4);
		std::memcpy(at(48), &address, 8);
	}

	uint32_t code() const
	{
		std::memset(at(16), 0, settings_size);
		return harness::ioctl(command_, record_.address()).code();
	}

	bool answers() const { return code() == 0 && answer_is_right(); }

	bool answers_or_finds_nothing() const
	{
		const uint32_t result = code();
		return result == not_found || (result == 0 && answer_is_right());
	}

private:
	void *at(std::size_t offset) const { return reinterpret_cast<void *>(record_.address(offset)); }

	bool answer_is_right() const
	{
		const bytes content = record_.content();
		return std::equal(expected_.begin(), expected_.end(), content.begin() + 16);
	}

	uint32_t command_;
	bytes expected_;
	user_bytes name_;
	user_bytes record_;
};

class spi_concurrency : public on_spi_board_with_driver {
protected:
	void SetUp() override
	{
		on_spi_board_with_driver::SetUp();
		before_ = harness::held();
	}

	// Whatever is registered can be released, and then nothing is left.
	void expect_all_given_back() const
	{
		release_all();
		EXPECT_EQ(records(), std::vector<uint64_t>());
		EXPECT_EQ(harness::held(), before_);
	}

private:
	harness::holdings before_;
};

TEST_F(spi_concurrency, two_first_finds_give_each_its_own_record_or_the_same)
{
	for (int round = 0; round < rounds; ++round) {
		SCOPED_TRACE(round);
		std::atomic<int> waiting = 2;
		uint64_t one = 0, other = 0;
		const auto find_into = [&waiting](uint64_t &record) {
			return [&waiting, &record] {
				--waiting;
				while (waiting > 0)
					std::this_thread::yield();
				record = find(0x31);
				return record == 0;
			};
		};
		run({find_into(one), find_into(other)});
		const std::vector<uint64_t> all = records();
		EXPECT_EQ(std::set<uint64_t>({one, other}), std::set<uint64_t>(all.begin(), all.end()));
		for (uint64_t record : all)
			EXPECT_EQ(settings_of(record), in_memory(first_card));
		EXPECT_EQ(find(0x31), all.front()) << "a later find gives the older record";
		expect_all_given_back();
	}
}

TEST_F(spi_concurrency, a_find_that_is_overtaken_adds_a_younger_record)
{
	uint64_t overtaken = 0;
	stopped_call first("xml_is_node_exist", [&overtaken] {
		overtaken = find(0x31);
		return overtaken == 0;
	});
	const uint64_t older = find(0x31);
	EXPECT_EQ(records(), std::vector<uint64_t>{older});
	EXPECT_EQ(first.let_go(), 0u);
	EXPECT_NE(overtaken, older);
	EXPECT_EQ(records(), (std::vector<uint64_t>{older, overtaken}));
	EXPECT_EQ(find(0x31), older);
	expect_all_given_back();
}

TEST_F(spi_concurrency, first_finds_of_different_instances_lose_no_record)
{
	for (int round = 0; round < rounds; ++round) {
		SCOPED_TRACE(round);
		run({[] { return find(0x20) == 0; }, [] { return find(0x21) == 0; }, [] { return find(0x32) == 0; }});
		const std::vector<uint32_t> all = instances();
		EXPECT_EQ(std::multiset<uint32_t>(all.begin(), all.end()), (std::multiset<uint32_t>{0x20, 0x21, 0x32}));
		release_all();
	}
}

TEST_F(spi_concurrency, lookups_by_name_run_beside_creates_and_destroys)
{
	const lookup first(find_config, unlocked_flash, "one"), last(find_config, unlocked_flash, "three"),
		instance(find_config_by_inst, unlocked_flash, "");
	run({repeatedly([] {
		     return create(0x20, {"one", "two", "three"}) == 0 && destroy(0x20) == 0;
	     }),
	     repeatedly([&] { return first.answers_or_finds_nothing(); }), repeatedly([&] { return last.answers_or_finds_nothing(); }),
	     repeatedly([&] { return instance.answers_or_finds_nothing(); })});
	expect_all_given_back();
}

TEST_F(spi_concurrency, lookups_find_an_old_flash_whatever_happens_to_newer_ones)
{
	ASSERT_EQ(create(0x32, {"steady"}), 0u);
	const lookup name(find_config, second_card, "steady"), instance(find_config_by_inst, second_card, "");
	run({repeatedly([] {
		     return create(0x20, {"one", "two"}) == 0 && destroy(0x20) == 0;
	     }),
	     repeatedly([&] { return name.answers(); }), repeatedly([&] { return instance.answers(); })});
	expect_all_given_back();
}

TEST_F(spi_concurrency, lookups_by_name_run_beside_creates_whose_copies_fail)
{
	harness::fail_always("linux_kstrdup", 0, 3);
	const lookup first(find_config, unlocked_flash, "one"), last(find_config, unlocked_flash, "three");
	// The two copies that succeed belong to the first create.
	run({repeatedly([] {
		     return create(0x20, {"one", "two", "three"}) == copy_failed;
	     }),
	     repeatedly([&] { return first.code() == not_found; }), repeatedly([&] { return last.code() == not_found; })});
	expect_all_given_back();
}

TEST_F(spi_concurrency, lookups_by_name_see_shorter_and_longer_lists_of_names)
{
	ASSERT_EQ(create(0x20, {"steady"}), 0u);
	const lookup steady(find_config, unlocked_flash, "steady"), extra(find_config, unlocked_flash, "extra");
	run({repeatedly([] {
		     return create(0x20, {"steady", "x", "y", "extra"}) == 0 && create(0x20, {"steady"}) == 0;
	     }),
	     repeatedly([&] { return steady.answers(); }), repeatedly([&] { return extra.answers_or_finds_nothing(); })});
	expect_names(find(0x20), {"steady"});
	expect_leak({.heap = rounds * (5 + 2)}); // earlier names stay: five pieces of each long list, two of each short one
}

TEST_F(spi_concurrency, two_creates_of_one_instance_leave_the_names_of_one_of_them)
{
	ASSERT_NE(find(0x20), 0u);
	for (int round = 0; round < rounds; ++round) {
		SCOPED_TRACE(round);
		run({[] { return create(0x20, {"a", "b", "c", "d"}) != 0; }, [] { return create(0x20, {"x"}) != 0; }});
		const uint64_t record = find(0x20);
		if (name_count_of(record) == 4)
			expect_names(record, {"a", "b", "c", "d"});
		else
			expect_names(record, {"x"});
	}
	// Each round leaves five pieces and two; the last list that stands is given back with its record.
	expect_leak({.heap = rounds * (5 + 2) - static_cast<long>(name_count_of(find(0x20))) - 1});
}

TEST_F(spi_concurrency, sizes_run_beside_destroys)
{
	run({repeatedly([] { return get_size(0x20) == 0; }), repeatedly([] { return get_size(0x20) == 0; }),
	     repeatedly([] { return destroy(0x20) == 0; })});
	expect_all_given_back();
}

TEST_F(spi_concurrency, a_create_beside_a_destroy_keeps_its_names_or_loses_its_record)
{
	for (int round = 0; round < rounds; ++round) {
		SCOPED_TRACE(round);
		ASSERT_NE(find(0x20), 0u);
		run({[] { return create(0x20, {"a", "b"}) != 0; }, [] { return destroy(0x20) != 0; }});
		for (uint64_t record : records())
			expect_names(record, {"a", "b"});
		expect_all_given_back();
	}
}

TEST_F(spi_concurrency, two_destroys_release_a_record_once)
{
	for (int round = 0; round < rounds; ++round) {
		SCOPED_TRACE(round);
		ASSERT_EQ(create(0x20, {"a", "b"}), 0u);
		run({[] { return destroy(0x20) != 0; }, [] { return destroy(0x20) != 0; }});
		expect_all_given_back();
	}
}

TEST_F(spi_concurrency, a_destroy_during_a_size_leaves_the_record_to_the_size)
{
	ASSERT_EQ(create(0x21, {"a"}), 0u);
	stopped_call size("suite_driver_get_size", [] { return get_size(0x21); });
	const harness::holdings meanwhile = harness::held();
	EXPECT_EQ(destroy(0x21), 0u);
	EXPECT_EQ(records(), std::vector<uint64_t>());
	EXPECT_EQ(harness::held(), meanwhile) << "the size still uses it";
	EXPECT_EQ(size.let_go(), 0u);
	EXPECT_EQ(calls_of("drv_hard_unlock"), call_list{hard_unlock(locked_flash)}) << "with the settings of the record";
	expect_all_given_back();
}

TEST_F(spi_concurrency, a_destroy_during_a_create_leaves_the_record_to_the_create)
{
	stopped_call creation("suite_driver_create", [] { return create(0x22, {"a", "b"}); });
	EXPECT_EQ(destroy(0x22), 0u);
	EXPECT_EQ(records(), std::vector<uint64_t>());
	EXPECT_EQ(creation.let_go(), 0u);
	EXPECT_EQ(calls_of("drv_hard_unlock"), call_list{hard_unlock(create_locked_flash)});
	expect_all_given_back();
}

TEST_F(spi_concurrency, a_destroy_before_the_names_are_set_gives_them_back_with_the_record)
{
	stopped_call creation("linux_kstrdup", [] { return create(0x20, {"a", "b"}); });
	EXPECT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(creation.let_go(), 0u);
	expect_all_given_back();
}

TEST_F(spi_concurrency, a_destroy_during_a_destroy_releases_the_record_once)
{
	ASSERT_EQ(create(0x20, {"a", "b"}), 0u);
	stopped_call first("suite_driver_destroy", [] { return destroy(0x20); });
	EXPECT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(first.let_go(), 0u);
	EXPECT_EQ(times_called("linux_list_del"), 1);
	expect_all_given_back();
}

TEST_F(spi_concurrency, a_destroy_that_is_overtaken_spares_the_next_record)
{
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	stopped_call first("suite_driver_destroy", [] { return destroy(0x20); });
	EXPECT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(create(0x20, {"b"}), 0u);
	EXPECT_EQ(first.let_go(), 0u);
	ASSERT_EQ(instances(), std::vector<uint32_t>{0x20});
	expect_names(records().front(), {"b"});
	expect_all_given_back();
}

TEST_F(spi_concurrency, names_under_construction_are_not_found)
{
	const lookup name(find_config, unlocked_flash, "one"), instance(find_config_by_inst, unlocked_flash, "");
	stopped_call creation("linux_kstrdup", [] { return create(0x20, {"one", "two"}); });
	EXPECT_EQ(name.code(), not_found);
	EXPECT_TRUE(instance.answers());
	EXPECT_EQ(creation.let_go(), 0u);
	EXPECT_TRUE(name.answers());
	expect_all_given_back();
}

TEST_F(spi_concurrency, names_stay_found_while_others_are_under_construction)
{
	ASSERT_EQ(create(0x20, {"old"}), 0u);
	const lookup old(find_config, unlocked_flash, "old"), fresh(find_config, unlocked_flash, "new");
	stopped_call creation("linux_kstrdup", [] { return create(0x20, {"new", "newer"}); });
	EXPECT_TRUE(old.answers());
	EXPECT_EQ(fresh.code(), not_found);
	EXPECT_EQ(creation.let_go(), 0u);
	EXPECT_EQ(old.code(), not_found);
	EXPECT_TRUE(fresh.answers());
	expect_leak({.heap = 2}); // the earlier name and its list
}

TEST_F(spi_concurrency, refused_destroys_run_beside_sizes_and_keep_the_record)
{
	const uint64_t record = find(0x20);
	harness::fail_always("suite_driver_destroy", 3);
	run({repeatedly([] { return destroy(0x20) == 3; }), repeatedly([] { return get_size(0x20) == 0; })});
	EXPECT_EQ(records(), std::vector<uint64_t>{record});
}

TEST_F(spi_concurrency, a_hard_lock_is_tried_once_by_each)
{
	constexpr uint32_t busy = 0x70030012;
	const auto either = [] {
		const uint32_t code = get_size(0x21);
		return code == 0 || code == busy;
	};
	find(0x21);
	run({repeatedly(either), repeatedly(either)});
	EXPECT_EQ(times_called("drv_hard_trylock"), 2 * rounds);
	EXPECT_EQ(times_called("drv_hard_unlock"), times_called("suite_driver_get_size"));
	EXPECT_EQ(get_size(0x21), 0u);
}

TEST_F(spi_concurrency, a_driver_comes_and_goes_beside_sizes)
{
	find(0x20);
	run({repeatedly([] {
		     const uint32_t code = get_size(0x20);
		     return code == 0 || code == no_driver;
	     }),
	     repeatedly([] {
		     harness::call("drv_flash_driver_unregister", {});
		     harness::register_driver();
		     return true;
	     })});
	EXPECT_EQ(get_size(0x20), 0u);
}

} // namespace
} // namespace conformance
