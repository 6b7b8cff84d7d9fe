// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// flashctl on the real module: what it tells and writes is compared with the MTD devices themselves, and each exit status is had that
// a board can give. Starting a program takes long on an emulated board, so a case looks at several things.
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <source_location>

#include "ioctl_words.hpp"
#include "lab_device.hpp"
#include "processes.hpp"
#include "spi_words.hpp"

namespace {

using namespace conformance;
using guest::ended_program;
using nlohmann::json;

constexpr const char *program = "/bin/flashctl";
constexpr uint32_t nobody = 65534;

using words = std::vector<std::string>;

words command_line(const words &arguments)
{
	words command = {program, "--json"};
	command.insert(command.end(), arguments.begin(), arguments.end());
	return command;
}

// The object that it printed, which has the exit status too.
json told(const ended_program &ended)
{
	const json report = json::parse(ended.output, nullptr, false);
	if (!report.is_object() || report.value("exit", -1) != ended.exit) {
		ADD_FAILURE() << "status " << ended.exit << ", no report of it: " << ended.output;
		return {{"exit", ended.exit}, {"status", ""}, {"result", {}}, {"error", {}}};
	}
	return report;
}

json flashctl(const words &arguments, const guest::surroundings &around = {})
{
	return told(guest::run_program(command_line(arguments), around));
}

void expect_ended(const json &report, int exit, const char *status, std::source_location where = std::source_location::current())
{
	EXPECT_TRUE(report["exit"] == exit && report["status"] == status) << "line " << where.line() << ": " << report;
}

// A file in memory, gone at the end of the case.
class scratch_file {
public:
	explicit scratch_file(const bytes &content = {}) : path_("/tmp/flashctl_" + std::to_string(++number_))
	{
		std::ofstream(path_, std::ios::binary).write(reinterpret_cast<const char *>(content.data()), std::ssize(content));
	}
	~scratch_file() { unlink(path_.c_str()); }
	scratch_file(const scratch_file &) = delete;
	scratch_file &operator=(const scratch_file &) = delete;

	const std::string &path() const { return path_; }
	bytes content() const
	{
		const std::string text = guest::read_file(path_);
		return {text.begin(), text.end()};
	}

private:
	static inline int number_ = 0;
	std::string path_;
};

// Two NAND partitions that the board lists, one of them the user data, and one that is neither. They are small: the board is slow.
class flashctl_on_board : public on_loaded_module {
protected:
	static constexpr const char *name_ = "listed_mlc";
	static constexpr std::size_t size_ = 0x10000, usable_ = 0x8000, block_ = 0x4000;
	static constexpr std::size_t offset_ = block_ - 0x80, length_ = 0x1000; // a range over the border of two erase blocks

	void prepare() override
	{
		harness::configure("transfers");
		listed_ = harness::add_mtd({.name = name_, .size = size_, .type = harness::mtd_mlc_nand, .erase_size = block_});
		harness::set_mtd_content(listed_, 0, before_);
		if (lonely_)
			return;
		harness::add_mtd({.name = "usrdata"});
		harness::add_mtd({.name = "nor", .type = harness::mtd_nor});
	}

	words write_of(const scratch_file &file) const { return {"write", name_, file.path(), "--offset", std::to_string(offset_)}; }

	bytes content() const { return harness::mtd_content(listed_, 0, size_); }

	bytes with_new_data() const
	{
		bytes expected = before_;
		std::copy(data_.begin(), data_.end(), expected.begin() + offset_);
		return expected;
	}

	bool lonely_ = false;
	int listed_ = -1;
	const bytes before_ = pattern(size_);
	const bytes data_ = pattern(length_, 77);
};

// A device as /proc/mtd shows it.
std::string proc_line(const json &device)
{
	char line[128];
	std::snprintf(line, sizeof(line), "mtd%u: %08x %08x \"%s\"\n", device["number"].get<unsigned>(), device["size"].get<unsigned>(),
		      device["erase_size"].get<unsigned>(), device["name"].get<std::string>().c_str());
	return line;
}

TEST_F(flashctl_on_board, tells_what_flash_there_is)
{
	const json list = flashctl({"list"});
	std::string lines = "dev:    size   erasesize  name\n";
	for (const json &device : list["result"]["devices"])
		lines += proc_line(device);
	EXPECT_EQ(lines, guest::read_file("/proc/mtd")) << list;
	EXPECT_EQ(list["result"]["devices"][0]["listed"], true);
	EXPECT_EQ(list["result"]["devices"][2]["listed"], false);
	EXPECT_EQ(list["result"]["devices"][2]["type"], "nor");

	const json info = flashctl({"info"});
	EXPECT_EQ(info["result"]["partitions"].size(), 2u) << info;
	EXPECT_EQ(info["result"]["user_data"], (json{{"partitions", 1}, {"size", 0x40000}}));

	EXPECT_EQ(list["result"]["devices"][0]["flag_names"], json{"writeable"}) << "the device's, which the statistics do not have";
	EXPECT_EQ(list["result"]["devices"][0]["writable"], true);
	EXPECT_EQ(list["result"]["devices"][0]["usable"], usable_) << "as the log of the load tells";
	EXPECT_EQ(list["result"]["devices"][2]["usable"], json());

	const std::string table = guest::run_program({program, "list"}).output;
	EXPECT_TRUE(table.starts_with("DEVICE  NAME        TYPE         SIZE  ")) << table;
	EXPECT_NE(table.find("\nmtd0    listed_mlc  mlc-nand   64 KiB  "), std::string::npos) << table;
}

TEST_F(flashctl_on_board, reads_what_is_on_the_device)
{
	const scratch_file file;
	const json whole = flashctl({"read", name_, "-o", file.path()});
	expect_ended(whole, 0, "done");
	EXPECT_EQ(file.content(), before_);
	expect_ended(flashctl({"verify", name_, "--sha256", whole["result"]["sha256"]}), 0, "done");

	EXPECT_EQ(guest::run_program({program, "read", name_, "--offset", "5", "--length", "300"}).output,
		  std::string(before_.begin() + 5, before_.begin() + 305));
}

TEST_F(flashctl_on_board, plans_writes_verifies_and_leaves_out)
{
	const scratch_file file(data_);
	words dry_run = write_of(file);
	dry_run.push_back("--dry-run");
	EXPECT_EQ(flashctl(dry_run)["result"]["action"], "planned");
	EXPECT_EQ(content(), before_);
	EXPECT_EQ(harness::mtd_count(listed_).erases, 0u);

	const json written = flashctl(write_of(file));
	expect_ended(written, 0, "done");
	EXPECT_EQ(written["result"]["action"], "written");
	EXPECT_EQ(written["result"]["erase_blocks"], 2);
	EXPECT_EQ(written["result"]["compared_bytes"], size_);
	EXPECT_EQ(content(), with_new_data());
	EXPECT_EQ(harness::mtd_count(listed_).erases, 2u);

	const json again = flashctl(write_of(file));
	expect_ended(again, 0, "done");
	EXPECT_EQ(again["result"]["action"], "unchanged");
	EXPECT_EQ(again["result"]["found_sha256"], json());
	EXPECT_EQ(harness::mtd_count(listed_).erases, 2u);
}

TEST_F(flashctl_on_board, writes_an_image_with_its_header_last_and_again)
{
	const bytes image = pattern(usable_, 31);
	const scratch_file file(image);
	const json refused = flashctl({"write", name_, file.path(), "--last", "64"});
	expect_ended(refused, 2, "usage");
	EXPECT_NE(refused["error"]["hint"].get<std::string>().find("--last 16384 is the smallest"), std::string::npos) << refused;
	expect_ended(flashctl({"write", name_, file.path(), "--last", "16KiB", "--sha256", std::string(64, '0')}), 1, "file");
	EXPECT_EQ(content(), before_);

	const json written = flashctl({"write", name_, file.path(), "--last", "16KiB"});
	expect_ended(written, 0, "done");
	EXPECT_EQ(written["result"]["header_bytes"], 16384);
	bytes expected = before_;
	std::copy(image.begin(), image.end(), expected.begin());
	EXPECT_EQ(content(), expected);

	const json again = flashctl({"write", name_, file.path(), "--last", "16KiB", "--resume"});
	EXPECT_EQ(again["result"]["action"], "unchanged");
	EXPECT_EQ(again["result"]["held_blocks"], usable_ / block_);
}

TEST_F(flashctl_on_board, verifies_and_finds_the_first_difference)
{
	bytes other = data_;
	other[200] ^= 1;
	const scratch_file right(bytes(before_.begin(), before_.begin() + length_)), wrong(other);
	expect_ended(flashctl({"verify", name_, right.path()}), 0, "done");
	harness::set_mtd_content(listed_, offset_, data_);
	const json report = flashctl({"verify", name_, wrong.path(), "--offset", std::to_string(offset_)});
	expect_ended(report, 7, "mismatch");
	EXPECT_EQ(report["result"]["difference"],
		  (json{{"first", offset_ + 200}, {"count", 1}, {"expected", other[200]}, {"found", data_[200]}}));
}

// Each is refused before anything is written.
TEST_F(flashctl_on_board, ends_with_the_status_of_what_was_wrong)
{
	const scratch_file file(data_);
	expect_ended(flashctl({"read", name_, "-o", "/no/such/folder/file"}), 1, "file");
	expect_ended(flashctl({"write", name_, file.path(), "--offset", std::to_string(size_ - length_ + 1)}), 2, "usage");
	const json misspelt = flashctl({"write", "listed_mc", file.path()});
	expect_ended(misspelt, 3, "not_found");
	EXPECT_EQ(misspelt["error"]["hint"], "did you mean \"listed_mlc\"?");
	expect_ended(flashctl({"list"}, {.user = nobody}), 4, "denied");
	const json beyond = flashctl({"write", name_, file.path(), "--offset", std::to_string(usable_ - length_ / 2)});
	expect_ended(beyond, 2, "usage");
	EXPECT_NE(beyond["error"]["message"].get<std::string>().find("usable bytes"), std::string::npos) << beyond;
	const json unlisted = flashctl({"write", "nor", file.path()});
	expect_ended(unlisted, 9, "unsupported");
	EXPECT_EQ(unlisted["error"]["code"]["value"], not_listed);
	expect_ended(flashctl(write_of(file), {.errors = "/dev/console"}), 10, "declined"); // a terminal, but nobody at it
	harness::fail("vzalloc", 0);
	expect_ended(flashctl(write_of(file)), 11, "no_memory");
	EXPECT_EQ(content(), before_);
	EXPECT_EQ(harness::mtd_count(listed_).erases, 0u);
}

TEST_F(flashctl_on_board, says_that_the_module_is_not_loaded)
{
	harness::unload();
	const json report = flashctl({"list"});
	expect_ended(report, 5, "no_module");
	EXPECT_NE(report["error"]["hint"].get<std::string>().find("modprobe flash_mng"), std::string::npos) << report;
}

TEST_F(flashctl_on_board, keeps_a_second_writer_out)
{
	const scratch_file file(data_);
	harness::forget();
	harness::stop_at("plat_mtd_update_buf");
	guest::started_program first(command_line(write_of(file)));
	EXPECT_TRUE(comes_to_call("plat_mtd_update_buf"));
	expect_ended(flashctl({"write", name_, "/bin/busybox", "--length", "16"}), 8, "busy");
	harness::go_on();
	expect_ended(told(first.end()), 0, "done");
	EXPECT_EQ(content(), with_new_data());
}

// Somebody has the block device for himself, as a mount and a swap have.
TEST_F(flashctl_on_board, leaves_a_claimed_partition_alone)
{
	const scratch_file file(data_);
	const std::string block = "/dev/mtdblock" + std::to_string(listed_);
	const int holder = open(block.c_str(), O_RDONLY | O_EXCL | O_CLOEXEC);
	ASSERT_GE(holder, 0) << block;
	const json refused = flashctl(write_of(file));
	expect_ended(refused, 8, "busy");
	EXPECT_EQ(refused["error"]["hint"], "try again when that is done; --force claimed writes all the same");
	EXPECT_EQ(content(), before_);
	words forced = write_of(file);
	forced.insert(forced.end(), {"--force", "claimed"});
	expect_ended(flashctl(forced), 0, "done");
	EXPECT_EQ(content(), with_new_data());
	close(holder);
}

// A file system on the partition itself, for as long as the object lives.
class mounted_flash {
public:
	mounted_flash(const std::string &source, unsigned long flags)
	{
		EXPECT_EQ(guest::insert_module(guest::module_file("jffs2")), 0);
		EXPECT_TRUE(mkdir(place, 0700) == 0 || errno == EEXIST);
		EXPECT_EQ(mount(source.c_str(), place, "jffs2", flags, nullptr), 0) << source << ": " << std::strerror(errno);
	}
	~mounted_flash()
	{
		EXPECT_EQ(umount(place), 0) << std::strerror(errno);
		EXPECT_EQ(guest::remove_module_patiently("jffs2"), 0);
	}
	mounted_flash(const mounted_flash &) = delete;
	mounted_flash &operator=(const mounted_flash &) = delete;

	static constexpr const char *place = "/tmp/mounted flash"; // a blank, which the kernel writes as \040
};

// On NOR flash, the kind that needs the least of JFFS2.
class flashctl_on_mounted_flash : public flashctl_on_board {
protected:
	void prepare() override
	{
		harness::configure("transfers");
		listed_ = harness::add_mtd({.name = name_, .size = size_, .type = harness::mtd_nor, .erase_size = size_ / 8});
	}

	std::string block_device() const { return "/dev/mtdblock" + std::to_string(listed_); }

	void expect_refused(const json &report, std::source_location where = std::source_location::current())
	{
		expect_ended(report, 8, "busy", where);
		EXPECT_EQ(report["error"]["message"], std::string("\"listed_mlc\" is mounted on ") + mounted_flash::place + " (jffs2)");
		EXPECT_NE(report["error"]["hint"].get<std::string>().find("--force mounted writes all the same"), std::string::npos);
	}
};

// The file system is as it was, although all of its flash was to be written.
TEST_F(flashctl_on_mounted_flash, leaves_a_partition_alone_that_is_mounted_by_its_name)
{
	const scratch_file file(pattern(usable_));
	const std::string kept = std::string(mounted_flash::place) + "/kept", source = std::string("mtd:") + name_;
	{
		const mounted_flash mounted(source, 0);
		std::ofstream(kept) << "as it was";
		expect_refused(flashctl({"write", name_, file.path(), "--dry-run"}));
		expect_refused(flashctl({"write", name_, file.path(), "--yes", "--force", "claimed"}));
	}
	const mounted_flash again(source, MS_RDONLY);
	EXPECT_EQ(guest::read_file(kept), "as it was");
}

TEST_F(flashctl_on_mounted_flash, is_written_only_by_who_names_the_danger)
{
	const scratch_file file(data_);
	const mounted_flash mounted(block_device(), MS_RDONLY);
	const bytes before = content();
	expect_refused(flashctl(write_of(file)));
	EXPECT_EQ(content(), before);
	words forced = write_of(file);
	forced.insert(forced.end(), {"--force", "mounted"});
	expect_ended(flashctl(forced), 0, "done");
	bytes expected = before;
	std::copy(data_.begin(), data_.end(), expected.begin() + offset_);
	EXPECT_EQ(content(), expected);
}

// The group may open the control device, and not the block device, which this kernel without file locks needs to keep others out.
TEST_F(flashctl_on_board, does_not_write_for_a_group_that_cannot_keep_others_out)
{
	const scratch_file file(data_);
	const std::string block = "/dev/mtdblock" + std::to_string(listed_);
	ASSERT_EQ(chmod("/dev/flash_mng", 0666), 0);
	ASSERT_EQ(chmod(block.c_str(), 0600), 0);
	const json refused = flashctl(write_of(file), {.user = nobody});
	ASSERT_EQ(chmod("/dev/flash_mng", 0600), 0);
	if (guest::file_exists("/proc/locks")) { // with file locks, as in Debian's kernels, a group keeps others out by those
		expect_ended(refused, 0, "done");
		return;
	}
	expect_ended(refused, 4, "denied");
	EXPECT_NE(refused["error"]["hint"].get<std::string>().find("may not claim " + block), std::string::npos) << refused;
	EXPECT_EQ(content(), before_);
}

TEST_F(flashctl_on_board, does_not_believe_an_update_that_did_nothing)
{
	const scratch_file file(data_);
	harness::fail("plat_mtd_update_buf", 0);
	const json report = flashctl(write_of(file));
	expect_ended(report, 7, "mismatch");
	EXPECT_EQ(report["result"]["difference"]["first"], offset_) << report;
	EXPECT_EQ(report["result"]["difference_around"], json());
	EXPECT_EQ(content(), before_);
}

// A read that reports success and gives nothing: the picture taken first, the one that the update patches, the one that is compared.
TEST_F(flashctl_on_board, does_not_believe_reads_that_did_nothing)
{
	const scratch_file file(data_);
	for (unsigned nth = 1; nth <= 3; ++nth) {
		SCOPED_TRACE(nth);
		harness::set_mtd_content(listed_, 0, before_);
		harness::fail("plat_mtd_read_buf", 0, nth);
		const unsigned hit = harness::faults_hit();
		const json report = flashctl(write_of(file));
		EXPECT_EQ(harness::faults_hit(), hit + 1);
		expect_ended(report, 7, "mismatch");
		EXPECT_TRUE(report["result"]["difference_around"].is_object()) << report;
	}
}

// The second restore finds a partition in use, and says so before anything is written.
TEST_F(flashctl_on_board, backs_up_and_restores)
{
	const std::string folder = "/tmp/flashctl_backup";
	guest::run_program({"/bin/busybox", "rm", "-rf", folder});
	const json backup = flashctl({"backup", folder, "--partition", name_});
	expect_ended(backup, 0, "done");
	EXPECT_EQ(backup["result"]["images"][0]["size"], usable_) << "as the log of the load tells";
	const std::string image = guest::read_file(folder + "/" + backup["result"]["images"][0]["file"].get<std::string>());
	EXPECT_EQ(bytes(image.begin(), image.end()), bytes(before_.begin(), before_.begin() + usable_));

	harness::set_mtd_content(listed_, offset_, data_);
	const json planned = flashctl({"restore", folder, "--dry-run"});
	expect_ended(planned, 0, "done");
	EXPECT_EQ(planned["result"]["images"][0]["action"], "planned") << planned;
	EXPECT_EQ(content(), with_new_data());

	const std::string block = "/dev/mtdblock" + std::to_string(listed_);
	const int holder = open(block.c_str(), O_RDONLY | O_EXCL | O_CLOEXEC);
	ASSERT_GE(holder, 0) << block;
	for (const char *const how : {"--dry-run", "--yes"})
		expect_ended(flashctl({"restore", folder, how}), 8, "busy");
	close(holder);
	EXPECT_EQ(content(), with_new_data());

	const json restored = flashctl({"restore", folder});
	expect_ended(restored, 0, "done");
	EXPECT_EQ(restored["result"]["images"][0]["action"], "written") << restored;
	EXPECT_EQ(content(), before_);
}

class flashctl_faults : public flashctl_on_board {
protected:
	struct failing_call {
		const char *function;
		long long result;
	};

	flashctl_faults() { lonely_ = true; }

	// The calls on the way of a write fail one after the other, until it passes. It must never pass with another content, and never
	// change a byte around.
	void expect_no_false_success(std::initializer_list<failing_call> calls)
	{
		const scratch_file file(data_);
		unsigned failures = 0;
		for (const failing_call &call : calls) {
			for (unsigned nth = 1; write_fails(file, call, nth); ++nth)
				++failures;
			harness::go_on();
		}
		EXPECT_GE(failures, calls.size());
	}

private:
	// Whether there was such a call to fail.
	bool write_fails(const scratch_file &file, const failing_call &call, unsigned nth)
	{
		SCOPED_TRACE(testing::Message() << call.function << ", call " << nth);
		harness::set_mtd_content(listed_, 0, before_);
		harness::fail(call.function, call.result, nth);
		const unsigned hit = harness::faults_hit();
		const json report = flashctl(write_of(file));
		const bytes found = content();
		EXPECT_TRUE(found == with_new_data() || (report["exit"] != 0 && found == before_)) << report;
		if (harness::faults_hit() > hit)
			return true;
		expect_ended(report, 0, "done");
		return false;
	}
};

TEST_F(flashctl_faults, of_the_platform_never_make_a_false_success)
{
	expect_no_false_success({{"plat_mtd_read_buf", 0x72}, {"plat_mtd_update_buf", 0x73}, {"memcpy_s", 34}, {"snprintf_s", -1}});
}

TEST_F(flashctl_faults, of_linux_never_make_a_false_success)
{
	if (guest::file_exists("/sys/kernel/debug/kmemleak"))
		GTEST_SKIP() << "too many programs for the debug kernel; the board's runs it";
	expect_no_false_success({{"get_mtd_device_nm", -19},
				 {"get_mtd_device", -19},
				 {"vzalloc", 0},
				 {"vmalloc", 0},
				 {"linux_copy_from_user", 1},
				 {"linux_copy_to_user", 1}});
}

using flashctl_spi = on_spi_board_with_driver;

TEST_F(flashctl_spi, finds_a_flash_once_it_is_created)
{
	expect_ended(flashctl({"spi", "--instance", "0x21"}), 3, "not_found");
	ASSERT_EQ(create(0x21, {"first", "second"}), 0u);
	const json by_instance = flashctl({"spi", "--instance", "0x21"});
	EXPECT_EQ(by_instance["result"], (json{{"instance", 0x21},
					       {"settings_instance", 0x21},
					       {"chip", 4},
					       {"controller", 5},
					       {"chip_select", 6},
					       {"hardlock_type", 0},
					       {"hardlock_value", 0x5a},
					       {"hardunlock_value", 0xa5}}));
	EXPECT_EQ(flashctl({"spi", "--name", "second"})["result"], by_instance["result"]);
	expect_ended(flashctl({"spi", "--name", "third"}), 3, "not_found");
}

} // namespace
