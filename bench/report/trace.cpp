// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "trace.hpp"

#include <fstream>
#include <set>
#include <unordered_map>
#include <vector>

#include "figures.hpp"

namespace bench {

namespace {

const std::string mark_name = "bench_mark";

// Linux's copies are inlines: what runs in the functions that flash_mng has for them is Linux's.
bool is_copy(const std::string &function)
{
	return function.rfind("linux_copy_", 0) == 0;
}

using places = std::map<std::uint64_t, std::string>;

places read_places(const std::string &path)
{
	places found;
	std::set<std::string> modules;
	std::ifstream file(path);
	for (std::string line; std::getline(file, line);) {
		const std::vector<std::string> words = split(line, '\t');
		if (words.size() == 4 && words[1] == "module" && modules.insert(words[2]).second && modules.size() > 1)
			fail(path + ": flash_mng was at more than one address");
		if (words.size() == 4 && words[1] == "function")
			found[std::stoull(words[2], nullptr, 16)] = words[3];
	}
	return found;
}

std::vector<std::string> read_marks(const std::string &path)
{
	std::vector<std::string> rows;
	std::ifstream file(path);
	for (std::string line; std::getline(file, line);)
		rows.push_back(line);
	return rows;
}

// The emulator lists a block's instructions when it translates it, and names the block each time that it runs it.
class trace_reader {
public:
	trace_reader(const places &functions, std::vector<share> &shares) : functions_(functions), shares_(shares) {}

	void take(const std::string &line)
	{
		if (line.rfind("IN:", 0) == 0)
			listed_ = 0;
		else if (line.rfind("0x", 0) == 0)
			list(line);
		else if (line.rfind("Trace ", 0) == 0)
			run(line, false);
		else if (line.rfind("Stopped ", 0) == 0)
			run(line, true);
	}

private:
	void list(const std::string &line)
	{
		if (listed_++ == 0)
			listed_at_ = std::stoull(line, nullptr, 16);
	}

	void run(const std::string &line, bool taken_back)
	{
		const std::size_t name = line.find("0x"), bracket = line.find('[');
		const std::string block = line.substr(name, bracket - name - 1);
		const std::size_t slash = line.find('/', bracket);
		const std::size_t digits = slash == std::string::npos ? bracket : slash;
		const std::uint64_t address = std::stoull(line.substr(digits + 1, 16), nullptr, 16);
		if (listed_ && listed_at_ == address)
			lengths_[block] = listed_;
		listed_ = 0;
		const std::string &function = std::prev(functions_.upper_bound(address))->second;
		if (function == mark_name)
			marks_ += taken_back ? -1 : 1;
		else if (marks_ % 2)
			add(function, taken_back ? -lengths_[block] : lengths_[block]);
	}

	// A negative count, modulo 2^64, takes away.
	void add(const std::string &function, std::uint64_t count)
	{
		share &to = current();
		(is_copy(function) ? to.copies : to.instructions) += count;
		to.functions[function] += count;
	}

	share &current()
	{
		if (static_cast<std::size_t>(marks_ / 2) >= shares_.size())
			fail("more marks than traced rows");
		return shares_[static_cast<std::size_t>(marks_ / 2)];
	}

	const places &functions_;
	std::vector<share> &shares_;
	std::unordered_map<std::string, std::uint64_t> lengths_;
	std::uint64_t listed_ = 0, listed_at_ = 0;
	long marks_ = 0;
};

} // namespace

std::map<std::string, share> read_shares(const std::string &folder)
{
	const places functions = read_places(folder + "/results/places.tsv");
	const std::vector<std::string> rows = read_marks(folder + "/results/marks.tsv");
	if (functions.empty() || rows.empty())
		fail("no traced run in " + folder);

	std::vector<share> shares(rows.size());
	trace_reader reader(functions, shares);
	std::ifstream log(folder + "/trace.log");
	for (std::string line; std::getline(log, line);)
		reader.take(line);

	std::map<std::string, share> found;
	for (std::size_t i = 0; i < rows.size(); ++i)
		if (shares[i].instructions == 0)
			fail("nothing of flash_mng was traced for: " + rows[i]);
		else
			found[rows[i]] = shares[i];
	return found;
}

} // namespace bench
