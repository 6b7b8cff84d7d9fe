// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Every call that a command makes of the flash fails in every way: never a success, never the result of one, and the flash is as before
// unless it was written.
#include <gtest/gtest.h>

#include "code_words.hpp"
#include "failure.hpp"
#include "scratch.hpp"
#include "simulated_console.hpp"

using namespace flashctl_tests;

namespace {

using arguments = std::vector<std::string>;

const std::vector<arguments> scenarios = {
	{"list"},
	{"info"},
	{"info", "usrdata"},
	{"list", "--health"},
	{"map", "--scan"},
	{"spi", "--instance", "5"},
	{"spi", "--name", "spi_a"},
	{"read", "usrdata"},
	{"read", "usrdata", "--hex", "--offset", "16"},
	{"verify", "usrdata", "-"},
	{"verify", "usrdata", "--sha256", "", "--length", "16"},
	{"write", "usrdata", "-"},
	{"write", "usrdata", "-", "--verify", "range"},
	{"write", "usrdata", "-", "--verify", "none"},
	{"write", "usrdata", "-", "--dry-run"},
	{"write", "usrdata", "-", "--resume"},
	{"backup", "NEW"},
	{"restore", "BACKUP"},
	{"restore", "BACKUP", "--dry-run"},
};

bool is_of_folders(const arguments &scenario)
{
	return scenario.front() == "backup" || scenario.front() == "restore";
}

const char *const for_programs[] = {"config", "usrdata"};

void tell_usable(host &host)
{
	for (const char *const name : for_programs)
		host.flash.part(name).device.usable = host.flash.part(name).usable;
}

// Of both partitions for programs.
struct finished_backup {
	finished_backup()
	{
		host host;
		tell_usable(host);
		EXPECT_EQ(host.flashctl("backup", path), 0) << host.console.err;
	}

	scratch folder;
	const std::string path = folder.path("b");
};

// A host on which a scenario succeeds.
struct prepared_host : host {
	explicit prepared_host(arguments scenario) : line(std::move(scenario))
	{
		for (partition &part : flash.parts)
			part.blocks.resize(part.device.size / part.device.erase_size);
		const bytes &content = flash.part("usrdata").content;
		console.input = line.front() == "write" ? bytes(300, std::byte{0x5a}) : bytes(content.begin(), content.begin() + 300);
		for (std::string &word : line)
			if (word.empty())
				word = flashctl::sha256({content.data(), 16});
		if (is_of_folders(line))
			prepare_folders();
	}

	// Each image has a byte to be written.
	void prepare_folders()
	{
		static const finished_backup kept;
		line[1] = line[1] == "NEW" ? folder.path("new") : kept.path;
		tell_usable(*this);
		for (const char *const name : for_programs)
			flash.part(name).content[7] ^= std::byte{1};
	}

	bool left_a_backup() const { return std::filesystem::exists(folder.path("new")); }

	arguments line;
	scratch folder;
};

std::vector<status> every_failure()
{
	std::vector<status> failures;
	for (const flashctl::code_words &words : flashctl::all_codes())
		if (words.code != FLASH_MNG_OK)
			failures.push_back(status::from_code(words.code));
	for (const std::uint32_t code : {1u, 56u, 57u, 0x12345678u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFF000u})
		failures.push_back(status::from_code(code));
	for (const int error :
	     {EPERM, ENOENT, EINTR, EIO, ENXIO, EBADF, EAGAIN, ENOMEM, EACCES, EFAULT, EBUSY, ENODEV, EINVAL, ENOTTY, EROFS, ENOSYS})
		failures.push_back(status::from_errno(error));
	failures.push_back(status::unfit_request());
	return failures;
}

// Of commands that work in folders, which take long, one of each kind.
std::vector<status> failures_for(const arguments &scenario)
{
	if (!is_of_folders(scenario))
		return every_failure();
	return {status::from_code(FLASH_MNG_NO_BUFFER),
		status::from_code(0x70050006),
		status::from_code(34),
		status::from_code(FLASH_MNG_NOT_LISTED),
		status::from_code(0xFFFFFFFF),
		status::from_errno(EIO),
		status::from_errno(EBUSY),
		status::from_errno(ENOMEM),
		status::unfit_request()};
}

struct fault {
	arguments scenario;
	std::size_t call;
	std::string function;
	bool json;
};

void PrintTo(const fault &fault, std::ostream *out)
{
	for (const std::string &word : fault.scenario)
		*out << word << ' ';
	*out << "fails at call " << fault.call << ", " << fault.function << (fault.json ? ", JSON" : "");
}

// Each call that each scenario makes when nothing fails.
std::vector<fault> every_fault()
{
	std::vector<fault> faults;
	for (const arguments &scenario : scenarios) {
		prepared_host host(scenario);
		host.run(host.line);
		for (std::size_t i = 0; i < host.flash.calls.size(); ++i) {
			faults.push_back({scenario, i + 1, host.flash.calls[i], false});
			if (scenario.front() != "read")
				faults.push_back({scenario, i + 1, host.flash.calls[i], true});
		}
	}
	return faults;
}

int run_with_fault(prepared_host &host, const fault &fault)
{
	if (fault.json)
		host.line.push_back("--json");
	return host.run(host.line);
}

// What is in use cannot be told when the question fails; a code for a range is one in answer to what it is given.
flashctl::exit_status expected_exit(const fault &fault, const status &with)
{
	using flashctl::asked_for;
	if (fault.function == "uses")
		return flashctl::exit_status::busy;
	const bool transfers = fault.function == "read" || fault.function == "write";
	const asked_for where = fault.function == "write" ? asked_for::write : asked_for::read;
	if (transfers && with.code() && explain_code(with.code(), where, flashctl::reference_platform_table()).is_range)
		return flashctl::exit_status::usage;
	return flashctl::exit_of(with);
}

void expect_refused(const prepared_host &host, const fault &fault, const status &with, int exit)
{
	EXPECT_EQ(exit, static_cast<int>(expected_exit(fault, with))) << with.meaning();
	EXPECT_NE(exit, 0);
	EXPECT_EQ(host.console.err.empty(), fault.json) << host.console.err;
	EXPECT_FALSE(host.left_a_backup());
	if (fault.scenario.front() == "restore") // which tells of each partition
		return;
	EXPECT_EQ(host.console.out.empty(), !fault.json) << host.console.out;
	if (fault.json) {
		EXPECT_NE(host.console.out.find("\"result\": null"), std::string::npos) << host.console.out;
	}
}

class fault_matrix : public testing::TestWithParam<fault> {};

TEST_P(fault_matrix, once)
{
	for (const status &with : failures_for(GetParam().scenario)) {
		prepared_host host(GetParam().scenario);
		const bytes before = host.flash.part("usrdata").content, config = host.flash.part("config").content;
		host.flash.fail_call(GetParam().call, with);
		const int exit = run_with_fault(host, GetParam());
		expect_refused(host, GetParam(), with, exit);

		const auto &calls = host.flash.calls;
		const bool written = std::ranges::count(calls, "write") > (GetParam().function == "write");
		EXPECT_TRUE(written || (host.flash.part("usrdata").content == before && host.flash.part("config").content == config));
	}
}

TEST_P(fault_matrix, from_then_on)
{
	for (const status &with : failures_for(GetParam().scenario)) {
		prepared_host host(GetParam().scenario);
		host.flash.fail_from(GetParam().call, with);
		const int exit = run_with_fault(host, GetParam());
		expect_refused(host, GetParam(), with, exit);
	}
}

INSTANTIATE_TEST_SUITE_P(all, fault_matrix, testing::ValuesIn(every_fault()));

class healthy : public testing::TestWithParam<arguments> {};

TEST_P(healthy, scenario_succeeds)
{
	prepared_host host(GetParam());
	EXPECT_EQ(host.run(host.line), 0) << host.console.err;
	EXPECT_FALSE(host.flash.calls.empty());
}

INSTANTIATE_TEST_SUITE_P(all, healthy, testing::ValuesIn(scenarios));

} // namespace
