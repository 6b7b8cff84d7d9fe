// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// flashctl on NAND flash of which blocks are bad, worn, unreadable, or cannot be erased any more: simulated by Linux, counted by Linux.
#include <fcntl.h>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <set>

#include "case.hpp"
#include "processes.hpp"
#include "simulated_nand.hpp"

namespace {

using namespace conformance;

constexpr unsigned first_block = 40, blocks = 64; // of usrdata, on the chip
constexpr std::size_t page_size = 2048, spare_size = 64, pages_of_block = 64;
constexpr const char *partition_file = "/dev/mtd2";

// All blocks of usrdata but some, as nandsim takes them.
std::string bad_blocks_but(const std::set<unsigned> &good)
{
	std::string list;
	for (unsigned block = 0; block < blocks; ++block)
		if (!good.contains(block))
			list += (list.empty() ? "" : ",") + std::to_string(first_block + block);
	return "badblocks=" + list;
}

// Makes some bits of a page come out wrong whenever it is read: it is written, and again with those bits changed and the ECC of before.
void wear_out(uint64_t page, unsigned bits)
{
	const int file = open(partition_file, O_RDWR | O_CLOEXEC);
	ASSERT_GE(file, 0) << std::strerror(errno);
	bytes data = pattern(page_size), spare(spare_size);
	const uint64_t begin = page * page_size, block_size = pages_of_block * page_size;

	EXPECT_EQ(pwrite(file, data.data(), data.size(), static_cast<off_t>(begin)), std::ssize(data)) << std::strerror(errno);
	mtd_oob_buf64 kept = {begin, 0, spare_size, reinterpret_cast<uintptr_t>(spare.data())};
	EXPECT_EQ(ioctl(file, MEMREADOOB64, &kept), 0) << std::strerror(errno);
	erase_info_user64 erased = {begin / block_size * block_size, block_size};
	EXPECT_EQ(ioctl(file, MEMERASE64, &erased), 0) << std::strerror(errno);

	data[0] ^= static_cast<uint8_t>((1u << bits) - 1);
	mtd_write_req request = {};
	request.start = begin;
	request.len = data.size();
	request.ooblen = spare.size();
	request.usr_data = reinterpret_cast<uintptr_t>(data.data());
	request.usr_oob = reinterpret_cast<uintptr_t>(spare.data());
	request.mode = MTD_OPS_RAW;
	EXPECT_EQ(ioctl(file, MEMWRITE, &request), 0) << std::strerror(errno);
	close(file);
}

guest::ended_program flashctl(std::vector<std::string> arguments)
{
	arguments.insert(arguments.begin(), "/bin/flashctl");
	return guest::run_program(arguments);
}

// The module writes the first block of usrdata.
class worn_flash : public on_loaded_module {
protected:
	explicit worn_flash(const std::string &faults) : faults_(faults) {}

	void prepare() override
	{
		SKIP_WITHOUT_NANDSIM();
		nand_.emplace(faults_);
		harness::configure("transfers");
	}

	// Lines of what flashctl prints, in their order.
	void expect_told(const std::vector<std::string> &command, const std::vector<std::string> &lines) const
	{
		const auto ended = flashctl(command);
		EXPECT_EQ(ended.exit, 0) << ended.output;
		std::size_t at = 0;
		for (const std::string &line : lines) {
			at = ended.output.find(line + "\n", at);
			ASSERT_NE(at, ended.output.npos) << line << "\nis not in\n" << ended.output;
		}
	}

private:
	const std::string faults_;
	std::optional<guest::simulated_nand> nand_;
};

class nearly_used_up_flash : public worn_flash {
protected:
	nearly_used_up_flash() : worn_flash(bad_blocks_but({0, 2, 3, 5})) {}
};

// Two blocks beyond the usable one: of one a page has a wrong bit, of the other one two in what ECC covers together.
TEST_F(nearly_used_up_flash, is_told_of_by_list_info_and_map)
{
	constexpr char warning[] = "warning: usrdata nears its end: 3 of its 63 spare blocks are left";
	const std::string bad(58, 'X');
	expect_told({"list", "--health"}, {"mtd2    usrdata  nand      64   60      3          0       0          1  writable", warning});
	expect_told({"map", "usrdata"},
		    {"mtd2 usrdata: nand, 8 MiB, 64 blocks of 128 KiB, 128 KiB usable", "  0x00000000 #X..X." + bad, "X bad", warning});

	wear_out(2 * pages_of_block + 1, 1);
	wear_out(3 * pages_of_block, 2);
	expect_told({"map", "usrdata", "--scan"}, {"  0x00000000 #Xw!X." + bad, "  1 bit corrected since the board was started",
						   "w worn: has corrected bits", "! unreadable: cannot be corrected", "X bad", warning});
	expect_told({"list", "--health"}, {"mtd2    usrdata  nand      64   60      3          1       1          1  writable", warning,
					   "warning: usrdata could not be corrected by ECC in 1 read since the board was started: bytes of "
					   "it are lost"});
	expect_told({"info", "usrdata"}, {warning});
}

class hardly_erasable_flash : public worn_flash {
protected:
	hardly_erasable_flash() : worn_flash("weakblocks=40:1") {}
};

// The erase takes the old bytes and is reported as failed.
TEST_F(hardly_erasable_flash, ends_a_write_with_an_error_that_tells_what_is_there)
{
	const std::vector<std::string> first = {"write", "usrdata", "/bin/busybox", "--length", "4096", "--yes"};
	std::vector<std::string> second = first;
	second[2] = "/bin/flashctl";
	second.insert(second.end(), {"--offset", "16"});

	EXPECT_EQ(flashctl(first).exit, 0);
	const auto refused = flashctl(second);
	EXPECT_EQ(refused.exit, 6) << refused.output;
	EXPECT_NE(refused.output.find("FLASH_BUFFER_ERASE_FAILED"), std::string::npos) << refused.output;
	EXPECT_NE(refused.output.find(" of 8388608 compared bytes are not as before"), std::string::npos) << refused.output;
}

} // namespace
