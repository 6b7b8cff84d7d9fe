// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The map as a picture. Each bar has a scale of its own; the numbers below it count from its begin.
#include <algorithm>
#include <array>
#include <cmath>
#include <queue>
#include <set>

#include "map.hpp"

namespace flash_board {
namespace {

constexpr int width = 960, margin = 24;
constexpr int bar_left = 262, bar_width = width - margin - bar_left;
constexpr int lane_height = 22, lane_gap = 3, tick_height = 18, bar_space = 16;
constexpr int letter_width = 7; // at the size of labels, rounded up

constexpr std::string_view style = R"(
  .paper { fill: #ffffff } .ink { fill: #1f2328 } .pale { fill: #59636e } .alarm { fill: #c4242b }
  .frame { fill: none; stroke: #59636e } .unknown { fill: none; stroke: #59636e; stroke-dasharray: 3 4 }
  .tick { stroke: #59636e } .free { fill: #f0f2f4 }
  .section { fill: #b6d7f7 } .usable { fill: #c2e6c8 } .spi_partition { fill: #e0cff5 } .on { fill: #10233a }
  .edge { fill: none; stroke: #3b5570; stroke-opacity: .55 }
  .shared { fill: url(#hatch) } .stripe { stroke: #c4242b; stroke-width: 3 } .over { fill: #c4242b }
  text { font: 12px "DejaVu Sans", Verdana, sans-serif }
  .title { font-size: 18px; font-weight: bold } .group { font-size: 14px; font-weight: bold }
  .name { font-weight: bold } .label { font-size: 11px } .number { font: 10px "DejaVu Sans Mono", monospace }
  @media (prefers-color-scheme: dark) {
    .paper { fill: #0d1117 } .ink { fill: #e6edf3 } .pale { fill: #9198a1 } .alarm { fill: #ff7b72 }
    .frame, .unknown { stroke: #9198a1 } .tick { stroke: #9198a1 } .free { fill: #1d232b }
    .section { fill: #1f5a94 } .usable { fill: #1f6b37 } .spi_partition { fill: #5e3f92 } .on { fill: #f0f6fc }
    .edge { stroke: #c9d6e4 } .stripe { stroke: #ff7b72 } .over { fill: #ff7b72 }
  }
)";

std::string escaped(std::string_view text)
{
	std::string made;

	for (const char c : text) {
		switch (c) {
		case '<':
			made += "&lt;";
			break;
		case '>':
			made += "&gt;";
			break;
		case '&':
			made += "&amp;";
			break;
		case '"':
			made += "&quot;";
			break;
		default:
			made += c;
		}
	}
	return made;
}

std::string number(int value)
{
	return std::to_string(value);
}

std::string_view class_of(span_kind kind)
{
	constexpr std::array<std::string_view, 3> names = {"section", "usable", "spi_partition"};

	return names[static_cast<std::size_t>(kind)];
}

class drawing {
public:
	explicit drawing(const board_map &map)
	{
		text(margin, 34, "title ink", map.title);
		text(margin, 54, "pale", map.subtitle + "; each bar has its own scale, the numbers below it count from its begin");
		legend(72);
		y_ = 112;
		for (const auto &one : map.left_out) {
			text(margin, y_, "label alarm", "left out: " + one);
			y_ += 16;
		}
		for (const auto &group : map.groups)
			draw(group);
	}

	std::string whole() const
	{
		const auto size = "0 0 " + number(width) + " " + number(y_);

		return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number(width) + "\" height=\"" + number(y_) +
		       "\" viewBox=\"" + size + "\">\n<style>" + std::string(style) +
		       "</style>\n<defs><pattern id=\"hatch\" width=\"8\" height=\"8\" patternUnits=\"userSpaceOnUse\" " +
		       "patternTransform=\"rotate(45)\"><line class=\"stripe\" x1=\"0\" y1=\"0\" x2=\"0\" y2=\"8\"/></pattern></defs>\n" +
		       "<rect class=\"paper\" width=\"" + number(width) + "\" height=\"" + number(y_) + "\"/>\n" + body_ + "</svg>\n";
	}

private:
	void rectangle(int x, int y, int w, int h, std::string_view classes)
	{
		body_ += "<rect class=\"" + std::string(classes) + "\" x=\"" + number(x) + "\" y=\"" + number(y) + "\" width=\"" +
			 number(w) + "\" height=\"" + number(h) + "\"/>\n";
	}

	void text(int x, int y, std::string_view classes, std::string_view words, std::string_view anchor = "start")
	{
		body_ += "<text class=\"" + std::string(classes) + "\" x=\"" + number(x) + "\" y=\"" + number(y) + "\"" +
			 (anchor == "start" ? "" : " text-anchor=\"" + std::string(anchor) + "\"") + ">" + escaped(words) + "</text>\n";
	}

	void legend(int y)
	{
		constexpr std::array<std::pair<std::string_view, std::string_view>, 6> marks = {{{"section", "section"},
												 {"usable", "usable size"},
												 {"spi_partition", "SPI partition"},
												 {"free", "free"},
												 {"shared", "overlap"},
												 {"over", "beyond the end"}}};
		int x = margin;

		for (const auto &[name, words] : marks) {
			rectangle(x, y, 18, 12, name);
			rectangle(x, y, 18, 12, "edge");
			text(x + 24, y + 10, "label pale", words);
			x += 48 + width_of(words);
		}
	}

	void draw(const map_group &group)
	{
		text(margin, y_, "group ink", group.title);
		y_ += 14;
		for (const auto &bar : group.bars)
			draw(bar);
		y_ += 18;
	}

	static int scaled(std::uint64_t offset, std::uint64_t extent)
	{
		return bar_left + static_cast<int>(std::lround(static_cast<double>(std::min(offset, extent)) / static_cast<double>(extent) *
							       bar_width));
	}

	using lane = std::vector<const map_span *>;

	// What lies side by side shares a lane: from left to right, each in the first lane that is free.
	static std::vector<lane> lanes_of(const map_bar &bar)
	{
		using busy_lane = std::pair<std::uint64_t, std::size_t>; // until where, and which
		std::priority_queue<busy_lane, std::vector<busy_lane>, std::greater<>> busy;
		std::set<std::size_t> free;
		std::vector<lane> lanes;
		lane spans;

		for (const auto &span : bar.spans)
			spans.push_back(&span);
		std::stable_sort(spans.begin(), spans.end(),
				 [](const map_span *a, const map_span *b) { return a->range.begin < b->range.begin; });
		for (const auto *span : spans) {
			for (; !busy.empty() && busy.top().first <= span->range.begin; busy.pop())
				free.insert(busy.top().second);
			if (free.empty()) {
				free.insert(lanes.size());
				lanes.emplace_back();
			}
			const auto chosen = free.extract(free.begin()).value();
			lanes[chosen].push_back(span);
			busy.emplace(span->range.end, chosen);
		}
		return lanes;
	}

	void draw(const map_bar &bar)
	{
		const auto lanes = lanes_of(bar);
		const auto shared = bar.shared_ranges();
		const auto count = std::max<int>(1, static_cast<int>(lanes.size()));
		const auto height = count * (lane_height + lane_gap) + lane_gap;

		text(margin, y_ + 16, bar.is_missing ? "name alarm" : "name ink", bar.title);
		text(margin, y_ + 31, bar.is_missing ? "label alarm" : "label pale", bar.is_missing ? "no such partition" : bar.place);
		rectangle(bar_left, y_, bar_width, height, "free");
		for (std::size_t lane = 0; lane < lanes.size(); lane++)
			for (std::size_t i = 0; i < lanes[lane].size(); i++)
				draw(bar, *lanes[lane][i], shared, y_ + lane_gap + static_cast<int>(lane) * (lane_height + lane_gap),
				     room_behind(bar, lanes[lane], i));
		for (const auto &free : bar.free_ranges())
			label(free, bar, y_ + (height + 8) / 2, "label pale", {"free " + human_size(free.end - free.begin), "free"});
		if (!bar.size)
			unknown_end(bar, height);
		rectangle(bar_left, y_, (bar.size ? bar_width : scaled(bar.known_end(), bar.extent()) - bar_left), height, "frame");
		ticks(bar, y_ + height);
		y_ += std::max(height + tick_height, 36) + bar_space;
	}

	// Where the next span of the lane begins, or the bar ends.
	static int room_behind(const map_bar &bar, const lane &spans, std::size_t index)
	{
		const auto end = bar.known_end();

		return scaled(index + 1 < spans.size() ? std::min(end, spans[index + 1]->range.begin) : end, bar.extent());
	}

	void draw(const map_bar &bar, const map_span &span, const std::vector<byte_range> &all_shared, int y, int room_end)
	{
		const auto left = scaled(span.range.begin, bar.extent());
		const auto wide = std::max(scaled(span.range.end, bar.extent()) - left, 3);
		const bool is_usable = span.kind == span_kind::usable;
		const bool is_beyond = span.range.end > bar.extent();
		const auto whole = is_beyond   ? span.title + ", " + human_size(span.range.end - bar.extent()) + " beyond the end"
				   : is_usable ? span.title
					       : span.title + ": " + span.addresses;

		rectangle(left, y, wide, lane_height, class_of(span.kind));
		if (!is_usable)
			draw_shared(bar, span, all_shared, y + lane_height - 6);
		rectangle(left, y, wide, lane_height, "edge");
		if (is_beyond)
			rectangle(bar_left + bar_width - 6, y, 10, lane_height, "over");
		if (!label(span.range, bar, y + 15, is_beyond ? "label name on" : "label on", {whole, is_usable ? "usable" : span.title}) &&
		    width_of(whole) < room_end - left - wide)
			text(left + wide + 5, y + 15, "label ink", whole);
	}

	// Of the shared ranges, which are in their order, those in a span.
	void draw_shared(const map_bar &bar, const map_span &span, const std::vector<byte_range> &all_shared, int y)
	{
		auto shared = std::upper_bound(all_shared.begin(), all_shared.end(), span.range.begin,
					       [](std::uint64_t begin, const byte_range &one) { return begin < one.end; });

		for (; shared != all_shared.end() && shared->overlaps(span.range); ++shared)
			rectangle(scaled(shared->begin, bar.extent()), y,
				  scaled(shared->end, bar.extent()) - scaled(shared->begin, bar.extent()), 6, "shared");
	}

	static int width_of(std::string_view words) { return static_cast<int>(words.size()) * letter_width; }

	// The first wording that has room goes in the middle of a range. Whether there is one.
	bool label(const byte_range &range, const map_bar &bar, int y, std::string_view classes,
		   std::initializer_list<std::string> wordings)
	{
		const auto left = scaled(range.begin, bar.extent()), right = scaled(range.end, bar.extent());

		for (const auto &words : wordings) {
			if (width_of(words) > right - left - 6)
				continue;
			text((left + right) / 2, y, classes, words, "middle");
			return true;
		}
		return false;
	}

	void unknown_end(const map_bar &bar, int height)
	{
		const auto from = scaled(bar.known_end(), bar.extent());

		rectangle(from, y_, bar_left + bar_width - from, height, "paper");
		rectangle(from, y_, bar_left + bar_width - from, height, "unknown");
		label({bar.known_end(), bar.extent()}, bar, y_ + (height + 8) / 2, "label pale", {"size not known", "?"});
	}

	void ticks(const map_bar &bar, int y)
	{
		std::set<std::uint64_t> borders;
		int free_from = bar_left - margin;
		const auto last = bar_left + bar_width - width_of(hexadecimal(bar.extent()));

		for (const auto &span : bar.spans)
			for (const auto border : {span.range.begin, span.range.end})
				if (border < bar.extent())
					borders.insert(border);
		borders.insert(0);
		for (const auto border : borders) {
			const auto words = hexadecimal(border);
			const auto x = scaled(border, bar.extent());
			const auto half = width_of(words) / 2;
			tick(x, y);
			if (x - half < free_from || x + half > last - letter_width)
				continue;
			text(x, y + 14, "number pale", words, "middle");
			free_from = x + half + letter_width;
		}
		if (!bar.size)
			return;
		tick(bar_left + bar_width, y);
		text(bar_left + bar_width, y + 14, "number pale", hexadecimal(bar.extent()), "end");
	}

	void tick(int x, int y)
	{
		body_ += "<line class=\"tick\" x1=\"" + number(x) + "\" y1=\"" + number(y) + "\" x2=\"" + number(x) + "\" y2=\"" +
			 number(y + 4) + "\"/>\n";
	}

	std::string body_;
	int y_ = 0;
};

} // namespace

std::string as_svg(const board_map &map)
{
	return drawing(map).whole();
}

} // namespace flash_board
