// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "slots_check.hpp"

#include <algorithm>
#include <sstream>

#include "bytes.hpp"

namespace powercut {

namespace {

std::string sum_of(flash_view data)
{
	return flashctl::sha256(std::as_bytes(data));
}

std::string sum_of(const std::string &text)
{
	return sum_of(flash_view(reinterpret_cast<const std::uint8_t *>(text.data()), text.size()));
}

// The words of the first line, if it ends within 256 bytes.
std::vector<std::string> first_words(flash_view flash, std::size_t at)
{
	const flash_view front = flash.subspan(at, 256);
	const auto end = std::find(front.begin(), front.end(), '\n');
	std::istringstream line(end == front.end() ? "" : std::string(front.begin(), end));
	std::vector<std::string> words;
	for (std::string word; line >> word;)
		words.push_back(word);
	return words;
}

std::optional<boot_choice> record_at(flash_view flash, std::size_t at)
{
	const auto words = first_words(flash, at);
	if (words.size() != 4 || words[0] != "boot" || words[3] != sum_of(words[1] + " " + words[2]))
		return std::nullopt;
	return boot_choice{std::stoull(words[1]), words[2]};
}

bool is_blank(flash_view flash, std::size_t at)
{
	return std::ranges::all_of(flash.subspan(at, choice_record), [](std::uint8_t byte) { return byte == 0xff; });
}

slots_left left_in(const slot_content &other, std::uint64_t chosen, std::uint64_t reported)
{
	if (chosen > reported)
		return slots_left::new_choice;
	if (other.state == slot_state::no_header)
		return slots_left::no_image;
	return other.version == version_of(chosen + 1) ? slots_left::new_image : slots_left::old_image;
}

} // namespace

std::optional<boot_choice> find_choice(flash_view flash)
{
	const auto first = record_at(flash, choice_at), second = record_at(flash, choice_at + choice_record);
	return second && (!first || second->number > first->number) ? second : first;
}

slot_content look_at_slot(flash_view flash, std::size_t slot)
{
	const std::size_t begin = slot * slot_size;
	const auto words = first_words(flash, begin);
	if (words.size() != 5 || words[0] != "image" || words[4] != sum_of(words[1] + " " + words[2] + " " + words[3]))
		return {slot_state::no_header, ""};
	const std::size_t length = std::min(std::stoul(words[2]), slot_size - slot_header);
	const bool is_whole = sum_of(flash.subspan(begin + slot_header, length)) == words[3];
	return {is_whole ? slot_state::whole : slot_state::torn, words[1]};
}

std::string slot_of(std::uint64_t number)
{
	return number % 2 ? "slot_a" : "slot_b";
}

std::string version_of(std::uint64_t number)
{
	return std::to_string((number + 2) % 3 + 1);
}

slots_verdict check_slots(flash_view flash, std::uint64_t reported)
{
	slots_verdict verdict;
	const auto choice = find_choice(flash);
	if (!choice) {
		verdict.findings.push_back("no slot is the choice");
		return verdict;
	}
	const std::uint64_t number = verdict.number = choice->number;
	if (number != reported && number != reported + 1)
		verdict.findings.push_back("the choice has number " + std::to_string(number) + " after " + std::to_string(reported));
	if (choice->slot != slot_of(number))
		verdict.findings.push_back("the choice " + std::to_string(number) + " is " + choice->slot);

	const auto started = look_at_slot(flash, choice->slot == "slot_b"), other = look_at_slot(flash, choice->slot != "slot_b");
	if (started.state != slot_state::whole || started.version != version_of(number))
		verdict.findings.push_back(choice->slot + ", which the loader starts, is not whole, or has version " + started.version);
	if (other.state == slot_state::torn)
		verdict.findings.push_back("the other slot has a valid header over a torn image");
	if (other.state == slot_state::whole && other.version != version_of(number - 1) && other.version != version_of(number + 1))
		verdict.findings.push_back("the other slot has version " + other.version);
	verdict.left = left_in(other, number, reported);
	for (const std::size_t at : {choice_at, choice_at + choice_record})
		verdict.torn_record |= !record_at(flash, at) && !is_blank(flash, at);
	return verdict;
}

slots_verdict check_single(flash_view flash, std::uint64_t reported)
{
	slots_verdict verdict;
	const auto content = look_at_slot(flash, 0);
	verdict.number = reported;
	if (content.state == slot_state::torn)
		verdict.findings.push_back("a valid header over a torn image");
	if (content.state == slot_state::no_header)
		verdict.left = slots_left::no_image;
	else if (content.version == version_of(reported + 1))
		verdict.left = slots_left::new_image;
	else if (content.version != version_of(reported))
		verdict.findings.push_back("version " + content.version + " after " + std::to_string(reported) + " installations");
	return verdict;
}

} // namespace powercut
