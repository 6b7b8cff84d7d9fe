// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <gtest/gtest.h>

#include "command_line.hpp"
#include "failure.hpp"

using namespace flashctl;

namespace {

using words = std::vector<std::string>;

template <typename request_type> request_type parsed(const words &arguments)
{
	return std::get<request_type>(parse_command_line(arguments).request->what);
}

TEST(command_line, write_with_everything)
{
	const auto request = parsed<write_request>(
		{"write", "usrdata", "image", "--offset", "4KiB", "--length", "0x10", "--verify", "range", "--dry-run", "--yes"});
	EXPECT_EQ(request.range.partition, "usrdata");
	EXPECT_EQ(request.input, "image");
	EXPECT_EQ(request.range.offset, 4096u);
	EXPECT_EQ(request.range.length, 16u);
	EXPECT_EQ(request.verify, verification::range);
	EXPECT_TRUE(request.dry_run);
	EXPECT_TRUE(request.yes);
}

TEST(command_line, ranges_end_below_4_gib)
{
	EXPECT_EQ(parsed<read_request>({"read", "p", "--offset", "0xfffffffe", "--length", "1"}).range.length, 1u);
	EXPECT_EQ(parsed<read_request>({"read", "p", "--length", "0xffffffff"}).range.length, 0xffffffffu);
	EXPECT_EQ(parsed<spi_request>({"spi", "--name", std::string(32, 'n')}).name.size(), 32u);
	const auto forced = parsed<write_request>({"write", "p", "f", "--force", "mounted", "--force", "unknown"}).forced;
	EXPECT_EQ(forced, (std::vector{danger::mounted, danger::unknown}));
}

TEST(command_line, write_verifies_all_and_asks_if_not_told_otherwise)
{
	const auto request = parsed<write_request>({"write", "usrdata", "-"});
	EXPECT_EQ(request.verify, verification::all);
	EXPECT_FALSE(request.dry_run);
	EXPECT_FALSE(request.yes);
	EXPECT_EQ(request.range.offset, 0u);
	EXPECT_EQ(request.range.length, std::nullopt);
}

TEST(command_line, read_goes_to_standard_output_if_not_told_otherwise)
{
	EXPECT_EQ(parsed<read_request>({"read", "boot"}).output, "-");
	EXPECT_EQ(parsed<read_request>({"read", "boot", "-o", "f", "--hex"}).output, "f");
	EXPECT_TRUE(parsed<read_request>({"read", "boot", "-o", "f", "--hex"}).hex);
}

TEST(command_line, options_of_every_command_stand_before_or_behind_it)
{
	for (const words &arguments : {words{"--json", "-q", "list"}, words{"list", "-q", "--json"}}) {
		const auto line = parse_command_line(arguments);
		EXPECT_TRUE(line.request->options.json);
		EXPECT_TRUE(line.request->options.quiet);
		EXPECT_EQ(line.command, "list");
	}
	EXPECT_EQ(parse_command_line({"list", "--device", "/dev/x"}).request->options.device, "/dev/x");
	EXPECT_EQ(parse_command_line({"list"}).request->options.device, FLASH_MNG_DEVICE);
}

TEST(command_line, a_file_may_be_named_like_an_option_behind_two_dashes)
{
	EXPECT_EQ(parsed<write_request>({"write", "--", "usrdata", "--odd"}).input, "--odd");
}

TEST(command_line, spi_by_instance_or_name)
{
	EXPECT_EQ(parsed<spi_request>({"spi", "--instance", "0xffffffff"}).instance, flash_mng::instance_id{0xffffffff});
	EXPECT_EQ(parsed<spi_request>({"spi", "--name", "spi_a"}).name, "spi_a");
	EXPECT_EQ(parsed<spi_request>({"spi", "--instance", "0"}).instance, flash_mng::instance_id{0});
}

TEST(command_line, explain_takes_numbers_as_programs_see_them)
{
	EXPECT_EQ(parsed<explain_request>({"explain", "-1"}).code, 0xFFFFFFFFu);
	EXPECT_EQ(parsed<explain_request>({"explain", "-2128936540"}).code, 0x811B01A4u);
	EXPECT_EQ(parsed<explain_request>({"explain", "not_listed"}).code, 0x811B01A4u);
	EXPECT_EQ(parsed<explain_request>({"explain"}).code, std::nullopt);
}

TEST(command_line, verify_takes_a_hash_in_any_case)
{
	EXPECT_EQ(parsed<verify_request>({"verify", "usrdata", "--sha256", std::string(64, 'A')}).sha256, std::string(64, 'a'));
}

TEST(command_line, help_and_version_are_no_request)
{
	EXPECT_FALSE(parse_command_line({"--help"}).request);
	EXPECT_FALSE(parse_command_line({"read", "--help"}).request);
	EXPECT_EQ(parse_command_line({"--version"}).text, "flashctl " VERSION "\n");
}

struct refused_line {
	words arguments;
	const char *message;
	const char *hint;
};

void PrintTo(const refused_line &line, std::ostream *out)
{
	for (const std::string &word : line.arguments)
		*out << word << ' ';
}

class refused_lines : public testing::TestWithParam<refused_line> {};

TEST_P(refused_lines, say_what_is_wrong_and_what_to_do)
{
	try {
		parse_command_line(GetParam().arguments);
		FAIL() << "not refused";
	} catch (const failure &wrong) {
		EXPECT_EQ(wrong.exit, exit_status::usage);
		EXPECT_NE(wrong.message.find(GetParam().message), std::string::npos) << wrong.message;
		EXPECT_NE(wrong.hint.find(GetParam().hint), std::string::npos) << wrong.hint;
	}
}

INSTANTIATE_TEST_SUITE_P(
	all, refused_lines,
	testing::Values(refused_line{{}, "a command is missing", "flashctl --help"},
			refused_line{{"--json"}, "a command is missing", "--help"},
			refused_line{{"lst"}, "unknown command lst", "did you mean \"list\"?"},
			refused_line{{"wirte", "usrdata", "f"}, "unknown command wirte", "did you mean \"write\"?"},
			refused_line{{"frobnicate"}, "unknown command frobnicate", "flashctl --help"},
			refused_line{{"list", "usrdata"}, "unexpected argument usrdata", "flashctl list --help"},
			refused_line{{"read", "boot", "--ofset", "1"}, "unknown option --ofset", "did you mean \"--offset\"?"},
			refused_line{{"write", "boot", "f", "--dryrun"}, "unknown option --dryrun", "did you mean \"--dry-run\"?"},
			refused_line{{"read"}, "PARTITION", "flashctl read --help"},
			refused_line{{"write", "usrdata"}, "FILE", "flashctl write --help"},
			refused_line{{"verify", "usrdata"}, "FILE is missing", "standard input"},
			refused_line{{"read", "boot", "--offset"}, "--offset", "flashctl read --help"},
			refused_line{{"read", "boot", "--offset", "12x"}, "--offset 12x is no size", "0x1000"},
			refused_line{{"read", "boot", "--offset", "4GiB"}, "--offset 4GiB is no size", "below 4 GiB"},
			refused_line{{"read", "boot", "--offset", "-1"}, "--offset -1 is no size", ""},
			refused_line{{"read", "boot", "--length", "0x100000000"}, "--length 0x100000000", "below 4 GiB"},
			refused_line{{"read", "boot", "--length", "0"}, "--length 0 is no range", "at least 1 byte"},
			refused_line{{"read", "boot", "--offset", "0xffffffff", "--length", "1"}, "go beyond 4 GiB", ""},
			refused_line{{"write", "boot", "f", "--offset", "3GiB", "--length", "1GiB"}, "go beyond 4 GiB", ""},
			refused_line{{"read", "boot", "--offset", "1", "--length", "0xffffffff"}, "go beyond 4 GiB", ""},
			refused_line{{"read", "boot", "--offset", "0xffffffff", "--length", "0xffffffff"}, "go beyond 4 GiB", ""},
			refused_line{{"read", "boot", "--offset", "0x"}, "--offset 0x is no size", ""},
			refused_line{{"read", "boot", "--length", "0x"}, "--length 0x is no size", ""},
			refused_line{{"read", "boot", "--offset", "17179869185GiB"}, "is no size", ""},
			refused_line{{"read", "boot", "--length", "18014398509481985KiB"}, "is no size", ""},
			refused_line{{"spi", "--instance", "0x"}, "no instance", ""},
			refused_line{{"explain", "0x"}, "neither a number", ""},
			refused_line{{"write", "boot", "f", "--force", "all"}, "--force all is no danger", "mounted, ubi, swap"},
			refused_line{{"verify", "boot", "--sha256", std::string(63, 'a')}, "no SHA-256", "64"},
			refused_line{{"verify", "boot", "--sha256", std::string(65, 'a')}, "no SHA-256", "64"},
			refused_line{{"write", "boot", "f", "--verify", "some"}, "--verify some is unknown", "all, range or none"},
			refused_line{{"read", "boot", "--json"}, "--json and the data", "--output"},
			refused_line{{"read", "boot", "--output", ""}, "--output is empty", ""},
			refused_line{{"read", "boot", "--output="}, "--output is empty", ""},
			refused_line{{"write", "boot", "f", "--yes="}, "--yes is empty", "leave out"},
			refused_line{{"write", "boot", "f", "--dry-run="}, "--dry-run is empty", ""},
			refused_line{{"list", "--json="}, "--json is empty", ""},
			refused_line{{"write", "boot", "f", "--offset", ""}, "--offset is empty", ""},
			refused_line{{"write", "boot", "f", "--length", ""}, "--length is empty", ""},
			refused_line{{"write", "boot", ""}, "FILE is empty", ""},
			refused_line{{"write", "", "f"}, "PARTITION is empty", ""}, refused_line{{"info", ""}, "PARTITION is empty", ""},
			refused_line{{"verify", "boot", "f", "--sha256", ""}, "--sha256 is empty", ""},
			refused_line{{"spi", "--instance", "", "--name", "a"}, "--instance is empty", ""},
			refused_line{{"explain", ""}, "WHAT is empty", ""}, refused_line{{"list", "--device", ""}, "--device is empty", ""},
			refused_line{{"verify", "boot", "f", "--sha256", std::string(64, 'a')}, "exclude each other", ""},
			refused_line{{"verify", "boot", "--sha256", "abc"}, "no SHA-256", "64"},
			refused_line{{"verify", "boot", "--sha256", std::string(64, 'g')}, "no SHA-256", "64"},
			refused_line{{"spi"}, "either by --instance or by --name", "spi --help"},
			refused_line{{"spi", "--instance", "1", "--name", "a"}, "either by", ""},
			refused_line{{"spi", "--instance", "x"}, "no instance", ""},
			refused_line{{"spi", "--instance", "4294967296"}, "no instance", ""},
			refused_line{{"spi", "--name", std::string(33, 'n')}, "too long", "32"},
			refused_line{{"explain", "NO_BUFER"}, "neither a number", "did you mean \"NO_BUFFER\"?"},
			refused_line{{"explain", "0x1811B04AA"}, "neither a number", ""},
			refused_line{{"list", "-q", "--progress"}, "exclude each other", ""},
			refused_line{{"write", "usrdata", "-", "--dry-run=0"}, "--dry-run takes no value", ""},
			refused_line{{"write", "usrdata", "-", "--yes=no"}, "--yes takes no value", ""},
			refused_line{{"list", "-q", "-v"}, "exclude each other", ""}));

} // namespace
