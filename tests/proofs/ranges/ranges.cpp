// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The module's arithmetic of ranges, from its own sources (functions.inc is cut out of them). Without a word on the command line: with
// numbers of 8 bits, all of them; a failure ends the program. With "smt": with 32 bits, as questions to an SMT solver, one for each path
// through the functions. "unsat" answers what is proved, "sat" what can be reached.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace eight {

using u32 = std::uint8_t;
using u64 = std::uint16_t;

constexpr unsigned beyond_numbers = 1U << 8;

inline unsigned wide(unsigned number)
{
	return number;
}

template <typename... condition> bool either(condition... conditions)
{
	return (conditions || ...);
}

inline bool add_overflow(u32 a, u32 b, u32 *sum)
{
	return __builtin_add_overflow(a, b, sum);
}

inline void prove(const char *text, bool holds)
{
	if (holds)
		return;
	std::printf("refuted: %s\n", text);
	std::exit(1);
}

inline void reached(const char *) {}

inline u32 place_in_image(const std::uint8_t *dest, const std::uint8_t *image)
{
	return static_cast<u32>(dest - image);
}

#include "stubs.inc"

inline u32 usable_size(mtd_info_entry &)
{
	return usable_when_patched;
}

inline void reset_image(u32 usable)
{
	usable_when_patched = usable;
	largest_read = written_back = patched_at = patch_room = 0;
}

#include "functions.inc"
#include "properties.inc"

void try_all()
{
	for (unsigned a = 0; a < 256; ++a)
		for (unsigned b = 0; b < 256; ++b) {
			image_is_read(static_cast<u32>(a), static_cast<u32>(b));
			for (unsigned c = 0; c < 65536; ++c) {
				const auto high = static_cast<u32>(c >> 8);
				const auto low = static_cast<u32>(c);
				section_contains(static_cast<u32>(a), static_cast<u32>(b), high, low);
				request_fits(static_cast<u32>(a), static_cast<u32>(b), static_cast<u64>(c));
				image_is_patched(static_cast<u32>(a), static_cast<u32>(b), high, low);
			}
		}
	std::puts("all numbers of 8 bits: 3 x 2^32 + 2^16 cases");
}

} // namespace eight

namespace symbolic {

// The path that is being walked: which way each decision goes, and what that asks of the numbers.
inline std::vector<bool> g_decisions;
inline std::size_t g_decided;
inline std::vector<std::string> g_conditions;
inline std::set<std::string> g_names;
inline std::string g_questions;

struct truth {
	std::string text;

	operator bool() const
	{
		if (g_decided == g_decisions.size())
			g_decisions.push_back(true);
		const bool way = g_decisions[g_decided++];
		g_conditions.push_back(way ? text : "(not " + text + ")");
		return way;
	}
};

template <int bits> struct number {
	std::string text;

	number(unsigned long long value = 0) : text("(_ bv" + std::to_string(value) + " " + std::to_string(bits) + ")") {}
	number(int value) : number(static_cast<unsigned long long>(value)) {}
	template <int others> explicit number(const number<others> &other) : text(resized(other)) {}
	static number named(const std::string &name)
	{
		g_names.insert("(declare-const " + name + " (_ BitVec " + std::to_string(bits) + "))");
		number result;
		result.text = name;
		return result;
	}
	explicit operator bool() const { return truth{"(not (= " + text + " " + number().text + "))"}; }

private:
	template <int others> static std::string resized(const number<others> &other)
	{
		if (others > bits)
			return "((_ extract " + std::to_string(bits - 1) + " 0) " + other.text + ")";
		return "((_ zero_extend " + std::to_string(bits - others) + ") " + other.text + ")";
	}
};

template <int bits> number<bits> combined(const char *operation, const number<bits> &a, const number<bits> &b)
{
	number<bits> result;
	result.text = std::string("(") + operation + " " + a.text + " " + b.text + ")";
	return result;
}

template <int bits> truth compared(const char *operation, const number<bits> &a, const number<bits> &b)
{
	return {combined(operation, a, b).text};
}

using u32 = number<32>;
using u64 = number<64>;

#define OPERATOR(type, symbol, result, made, operation)                                                                                    \
	inline result operator symbol(const type &a, const type &b)                                                                        \
	{                                                                                                                                  \
		return made(operation, a, b);                                                                                              \
	}
#define OPERATORS(type)                                                                                                                    \
	OPERATOR(type, +, type, combined, "bvadd")                                                                                         \
	OPERATOR(type, -, type, combined, "bvsub")                                                                                         \
	OPERATOR(type, <, truth, compared, "bvult")                                                                                        \
	OPERATOR(type, <=, truth, compared, "bvule")                                                                                       \
	OPERATOR(type, >, truth, compared, "bvugt")                                                                                        \
	OPERATOR(type, >=, truth, compared, "bvuge")                                                                                       \
	OPERATOR(type, ==, truth, compared, "=")
OPERATORS(u32)
OPERATORS(u64)

const u64 beyond_numbers(1ULL << 32);

inline u64 wide(const u32 &number)
{
	return u64(number);
}

template <typename... condition> truth either(const condition &...conditions_of_it)
{
	return {("(or" + ... + (" " + conditions_of_it.text)) + ")"};
}

inline truth add_overflow(const u32 &a, const u32 &b, u32 *sum)
{
	*sum = a + b;
	return *sum < a;
}

inline void ask(const std::string &text, const std::string &more)
{
	g_questions += "(echo \"" + text + "\")\n(push)\n";
	for (const std::string &condition : g_conditions)
		g_questions += "(assert " + condition + ")\n";
	g_questions += more + "(check-sat)\n(pop)\n";
}

inline void prove(const char *text, const truth &holds)
{
	ask(std::string("proved: ") + text, "(assert (not " + holds.text + "))\n");
}

inline void reached(const char *text)
{
	ask(std::string("reached: ") + text, "");
}

inline u32 g_place;

inline unsigned char *operator+(unsigned char *image, const u32 &offset)
{
	g_place = offset;
	return image;
}

inline u32 place_in_image(const unsigned char *, const unsigned char *)
{
	return g_place;
}

#include "stubs.inc"

inline int g_usable_reads;

// Another value each time; the second is the one of the patch.
inline u32 usable_size(mtd_info_entry &)
{
	return ++g_usable_reads == 2 ? usable_when_patched : u32::named("usable" + std::to_string(g_usable_reads));
}

inline void reset_image(const u32 &usable)
{
	usable_when_patched = usable;
	g_usable_reads = 0;
}

#include "functions.inc"
#include "properties.inc"

// all_paths() - walks each path through a property.
template <typename property> void all_paths(property walk)
{
	g_decisions.clear();
	do {
		g_decided = 0;
		g_conditions.clear();
		walk();
		while (!g_decisions.empty() && !g_decisions.back())
			g_decisions.pop_back();
		if (!g_decisions.empty())
			g_decisions.back() = false;
	} while (!g_decisions.empty());
}

void print_questions()
{
	const u32 a = u32::named("a");
	const u32 b = u32::named("b");
	const u32 c = u32::named("c");
	const u32 d = u32::named("d");
	const u64 size = u64::named("size");
	all_paths([&] { section_contains(a, b, c, d); });
	all_paths([&] { request_fits(a, b, size); });
	all_paths([&] { image_is_patched(a, b, c, d); });
	all_paths([&] { image_is_read(a, b); });
	std::puts("(set-logic QF_BV)");
	for (const std::string &name : g_names)
		std::puts(name.c_str());
	std::fputs(g_questions.c_str(), stdout);
}

} // namespace symbolic

int main(int count, char **words)
{
	if (count > 1 && std::strcmp(words[1], "smt") == 0)
		symbolic::print_questions();
	else
		eight::try_all();
	return 0;
}
