// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "genes.hpp"

#include <cstdio>
#include <sstream>

namespace torture {

namespace {

gene new_gene(choices &choice)
{
	gene one;
	for (uint32_t &word : one.words)
		word = static_cast<uint32_t>(choice.next());
	return one;
}

uint32_t changed_word(uint32_t word, choices &choice)
{
	switch (choice.below(4)) {
	case 0:
		return static_cast<uint32_t>(choice.next());
	case 1:
		return word ^ 1u << choice.below(32);
	case 2:
		return word + 1;
	default:
		return word - 1;
	}
}

} // namespace

input new_input(choices &choice)
{
	input one(1 + choice.below(most_genes));
	for (gene &each : one)
		each = new_gene(choice);
	return one;
}

input changed(const input &parent, const input &other, choices &choice)
{
	input child = parent;
	gene &one = choice.of(child);
	switch (choice.below(5)) {
	case 0:
		one = choice.of(other);
		break;
	case 1:
		if (child.size() < most_genes)
			child.push_back(choice.of(other));
		break;
	case 2:
		if (child.size() > 1)
			child.pop_back();
		break;
	default:
		for (uint32_t changes = 1 + choice.below(3); changes; --changes) {
			uint32_t &word = choice.of(one.words);
			word = changed_word(word, choice);
		}
	}
	return child;
}

std::string text_of(const input &one)
{
	std::string text;
	for (const gene &each : one) {
		text += text.empty() ? "" : ", ";
		for (std::size_t i = 0; i < each.words.size(); ++i) {
			char word[12];
			std::snprintf(word, sizeof(word), i ? " %x" : "%x", each.words[i]);
			text += word;
		}
	}
	return text;
}

std::optional<input> input_of(const std::string &line)
{
	input one;
	std::istringstream parts(line);
	for (std::string part; std::getline(parts, part, ',');) {
		gene each;
		std::istringstream words(part);
		for (uint32_t &word : each.words)
			if (!(words >> std::hex >> word))
				return {};
		one.push_back(each);
	}
	if (one.empty() || one.size() > most_genes)
		return {};
	return one;
}

} // namespace torture
