// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "answers.hpp"

#include <cctype>
#include <regex>
#include <vector>

namespace completeness {

namespace {

using position = std::size_t;

bool is_word(char letter)
{
	return std::isalnum(static_cast<unsigned char>(letter)) || letter == '_';
}

bool is_code_type(const std::string &type)
{
	static const std::regex pattern("u32|int|long|\\w+_result");
	return std::regex_match(type, pattern);
}

bool is_other_type(const std::string &type)
{
	static const std::regex pattern("void|bool|u64|.*[*&]|mtd_device|list_of<\\w+>|.*::");
	return std::regex_match(type, pattern);
}

class follower {
public:
	follower(const function &function, const known_names &known)
		: known_(known), name_(function.name), body_(without_texts(function.body)), seen_(body_.size())
	{
	}

	answers all()
	{
		static const std::regex statement("\\breturn\\b");
		for_each(statement, [&](const std::smatch &match) { follow(end_of(match)); });
		look_for_other_codes();
		return found_;
	}

	void look_for_other_codes()
	{
		static const std::regex compared("[=!]=\\s*$"), word("\\bFLASH_MNG_\\w+");
		for_each(word, [&](const std::smatch &match) {
			const auto at = static_cast<position>(match.position());
			if (known_.codes.contains(match.str()) && !seen_[at] && !std::regex_search(body_.substr(0, at), compared))
				found_.strays.insert(name_ + ": " + match.str() + " is neither answered nor compared");
		});
	}

	answers found() const { return found_; }

private:
	static position end_of(const std::smatch &match) { return static_cast<position>(match.position() + match.length()); }

	template <class work> void for_each(const std::regex &pattern, const work &action)
	{
		for (std::sregex_iterator found(body_.begin(), body_.end(), pattern), end; found != end; ++found)
			action(*found);
	}

	void puzzle(const std::string &what) { found_.puzzles.insert(name_ + ": " + what); }

	// Behind the bracket that closes the one at the start.
	position behind_brackets(position start) const
	{
		int depth = 0;
		for (position at = start; at < body_.size(); ++at) {
			depth += std::string("([{").find(body_[at]) != std::string::npos;
			depth -= std::string(")]}").find(body_[at]) != std::string::npos;
			if (depth == 0)
				return at + 1;
		}
		return body_.size();
	}

	// An expression ends at a semicolon, or at a bracket that was opened before it.
	position end_of_expression(position start) const
	{
		for (position at = start; at < body_.size(); ++at) {
			if (std::string(";)]}").find(body_[at]) != std::string::npos)
				return at;
			if (std::string("([{").find(body_[at]) != std::string::npos)
				at = behind_brackets(at) - 1;
		}
		return body_.size();
	}

	void follow(position start) { follow(start, end_of_expression(start)); }

	// What stands before a question mark, and truth values, are no codes.
	void follow(position start, position end)
	{
		static const std::regex truth("[=!<>]=|&&|\\|\\||[^-]>|<(?![^<>]*>\\()|!");
		std::fill(seen_.begin() + static_cast<long>(start), seen_.begin() + static_cast<long>(end), true);
		const std::string whole = body_.substr(start, end - start);
		if (const position mark = whole.find('?'); mark != whole.npos) {
			if (whole.substr(0, mark).find_first_of("{,") != whole.npos && whole.substr(0, mark).find('(') == whole.npos)
				puzzle("a choice inside of braces");
			start += mark + 1;
		} else if (std::regex_search(outside_of_brackets(whole), truth)) {
			return;
		}
		while (start < end)
			start = is_word(body_[start]) ? follow_name(start) : check_sign(start);
	}

	position check_sign(position at)
	{
		if (std::string(" \n\t(){},:;").find(body_[at]) == std::string::npos)
			puzzle(std::string("a code with '") + body_[at] + "'");
		return at + 1;
	}

	static std::string outside_of_brackets(const std::string &text)
	{
		std::string outside;
		int depth = 0;
		for (const char letter : text) {
			depth += letter == '(';
			if (depth == 0)
				outside += letter;
			depth -= letter == ')';
		}
		return outside;
	}

	// A name with its members, and what is called by it.
	position follow_name(position start)
	{
		static const std::regex chain("^\\w+(?:(?:\\.|->|::)\\w+)*"), cast("^static_cast<[^<>]*>");
		const std::string rest = body_.substr(start);
		std::smatch match;
		if (std::regex_search(rest, match, cast))
			return start + static_cast<position>(match.length());
		std::regex_search(rest, match, chain);
		const position behind = start + static_cast<position>(match.length());
		if (behind < body_.size() && body_[behind] == '(') {
			follow_call(match.str());
			return behind_brackets(behind);
		}
		follow_value(match.str());
		return behind;
	}

	void follow_call(const std::string &callee)
	{
		if (known_.functions.contains(callee))
			found_.callees.insert(callee);
		else if (!known_.imports.contains(callee) && !is_of_others(callee))
			puzzle("hands on the answer of " + callee);
	}

	// A handler of the table of commands, or a function of the flash driver.
	bool is_of_others(const std::string &callee) const
	{
		return callee == "row.handler" ||
		       std::regex_search(body_, std::regex("\\b" + callee + " = registered\\(&flash_driver_ops::" + callee + "\\)"));
	}

	void follow_value(const std::string &value)
	{
		const std::string variable = value.substr(0, value.find_first_of(".-"));
		if (known_.codes.contains(value))
			found_.codes.insert(value);
		else if (!std::isdigit(static_cast<unsigned char>(value[0])) && value != "nullptr" && value.find("::") == value.npos &&
			 variables_.insert(variable).second)
			follow_variable(variable);
	}

	void follow_variable(const std::string &variable)
	{
		const std::regex assigned("(?:^|[^\\w.>&])" + variable + "(?:\\.\\w+)?\\s*=(?!=)"), built("\\w[ *&]+" + variable + "[({]"),
			given_away("&" + variable + "\\b"), changed("\\b" + variable + "\\s*[-+|&^*/%]=");
		std::vector<position> starts;
		for_each(assigned, [&](const std::smatch &match) { starts.push_back(end_of(match)); });
		for_each(built, [&](const std::smatch &match) { starts.push_back(end_of(match)); });
		if (starts.empty())
			puzzle("nothing says what " + variable + " is");
		if (std::regex_search(body_, given_away) || std::regex_search(body_, changed))
			puzzle(variable + " is changed in a way that is not followed");
		for (const position start : starts)
			follow(start);
	}

	const known_names &known_;
	const std::string name_;
	const std::string body_;
	std::vector<bool> seen_;
	std::set<std::string> variables_;
	answers found_;
};

} // namespace

std::string without_texts(std::string text)
{
	static const std::regex kept("\"(?:[^\"\\\\\n]|\\\\.)*\"|'(?:[^'\\\\\n]|\\\\.)+'|//[^\n]*");
	std::string result = text;
	for (std::sregex_iterator found(text.begin(), text.end(), kept), end; found != end; ++found)
		result.replace(static_cast<position>(found->position()), static_cast<position>(found->length()),
			       static_cast<position>(found->length()), ' ');
	return result;
}

answers answers_of(const function &function, const known_names &known)
{
	follower one(function, known);
	if (is_code_type(function.type))
		return one.all();
	one.look_for_other_codes();
	answers none = one.found();
	if (!is_other_type(function.type))
		none.strays.insert(function.name + ": may " + function.type + " be a code?");
	return none;
}

} // namespace completeness
