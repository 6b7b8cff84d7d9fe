// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "charts.hpp"

#include <algorithm>
#include <cmath>
#include <ostream>

namespace bench {

namespace {

constexpr double panel_width = 400, panel_height = 320, left = 62, right = 30, top = 34, bottom = 106;
constexpr std::size_t panels_in_row = 3;
constexpr double head = 40;

constexpr char style[] = R"(<style>
text { font: 11px sans-serif; fill: #333 } .title { font: bold 15px sans-serif } .name { font: bold 11px sans-serif }
.ground { fill: #fff } .axis { stroke: #888; fill: none } .grid { stroke: #ddd }
.c0 { stroke: #0b62c4; fill: #0b62c4 } .c1 { stroke: #c2410c; fill: #c2410c } .c2 { stroke: #15803d; fill: #15803d }
.c3 { stroke: #7e22ce; fill: #7e22ce }
path { fill: none !important; stroke-width: 2 }
@media (prefers-color-scheme: dark) {
text { fill: #ddd } .ground { fill: #161b22 } .axis { stroke: #777 } .grid { stroke: #333 }
.c0 { stroke: #58a6ff; fill: #58a6ff } .c1 { stroke: #fb923c; fill: #fb923c } .c2 { stroke: #4ade80; fill: #4ade80 }
.c3 { stroke: #c084fc; fill: #c084fc }
}
</style>
)";

std::string short_number(double value)
{
	const auto whole = [](double number) {
		std::string text = std::to_string(number);
		text.resize(text.find('.') + 2);
		return text.ends_with(".0") ? text.substr(0, text.size() - 2) : text;
	};
	if (value >= 1e6)
		return whole(value / 1e6) + "M";
	return value >= 1e3 ? whole(value / 1e3) + "k" : whole(value);
}

std::string size_label(double size, const std::string &unit)
{
	return unit == "bytes" ? size_text({{}, {}, {}, static_cast<std::uint64_t>(size), unit, {}, nullptr})
			       : number_text(static_cast<std::uint64_t>(size));
}

// One axis: values to positions between two ends.
class axis {
public:
	axis(double low, double high, double from, double to, bool logarithmic)
		: low_(logarithmic ? std::log10(low) : 0), high_(logarithmic ? std::log10(high) : high), from_(from), to_(to),
		  log_(logarithmic)
	{
	}
	double at(double value) const { return from_ + ((log_ ? std::log10(value) : value) - low_) / (high_ - low_) * (to_ - from_); }

private:
	double low_, high_, from_, to_;
	bool log_;
};

struct range {
	double low, high;
};

template <typename get> range range_of(const panel &of, get value)
{
	range found = {1e300, 0};
	for (const series &line : of.lines)
		for (const auto &point : line.points)
			found = {std::min(found.low, value(point)), std::max(found.high, value(point))};
	return found;
}

std::vector<double> ticks(range values, bool logarithmic)
{
	std::vector<double> found;
	if (logarithmic) {
		for (double tick = std::pow(10, std::ceil(std::log10(values.low))); tick <= values.high; tick *= 10)
			found.push_back(tick);
		return found;
	}
	const double step = std::pow(10, std::floor(std::log10(values.high)));
	for (double tick = 0; tick <= values.high; tick += values.high / step < 3 ? step / 2 : step)
		found.push_back(tick);
	return found;
}

void write_text(std::ostream &out, double x, double y, const std::string &anchor, const std::string &text, const std::string &kind = "")
{
	out << "<text x='" << x << "' y='" << y << "' text-anchor='" << anchor << "'" << (kind.empty() ? "" : " class='" + kind + "'")
	    << ">" << text << "</text>\n";
}

void write_line(std::ostream &out, const series &line, const axis &x, const axis &y, std::size_t colour)
{
	out << "<path class='c" << colour << "' d='";
	for (const auto &[size, count] : line.points)
		out << (size == line.points.front().first ? "M" : "L") << x.at(size) << " " << y.at(count);
	out << "'/>\n";
	for (const auto &[size, count] : line.points)
		out << "<circle class='c" << colour << "' cx='" << x.at(size) << "' cy='" << y.at(count) << "' r='3'/>\n";
}

void write_panel(std::ostream &out, const panel &of, double px, double py, bool logarithmic)
{
	const range sizes = range_of(of, [](const auto &point) { return point.first; });
	const range counts = range_of(of, [](const auto &point) { return point.second; });
	const double floor = py + panel_height - bottom;
	const axis x(sizes.low, sizes.high, px + left, px + panel_width - right, logarithmic);
	const axis y(counts.low, counts.high * 1.05, floor, py + top, logarithmic);

	write_text(out, px + left, py + 18, "start", of.title, "name");
	for (const double tick : ticks(counts, logarithmic)) {
		out << "<line class='grid' x1='" << px + left << "' x2='" << px + panel_width - right << "' y1='" << y.at(tick) << "' y2='"
		    << y.at(tick) << "'/>\n";
		write_text(out, px + left - 5, y.at(tick) + 4, "end", short_number(tick));
	}
	double last = -100;
	for (const auto &point : of.lines.front().points)
		if (x.at(point.first) - last > 24) {
			last = x.at(point.first);
			write_text(out, last, floor + 15, "middle", size_label(point.first, of.unit));
		}
	if (of.unit != "bytes")
		write_text(out, px + panel_width - right, floor + 29, "end", of.unit);
	out << "<path class='axis' d='M" << px + left << " " << py + top << "V" << floor << "H" << px + panel_width - right << "'/>\n";
	for (std::size_t i = of.lines.size(); i-- > 0;) {
		write_line(out, of.lines[i], x, y, i % 4);
		out << "<rect class='c" << i % 4 << "' x='" << px + left << "' y='" << floor + 33 + 15 * static_cast<double>(i)
		    << "' width='10' height='10'/>\n";
		write_text(out, px + left + 15, floor + 42 + 15 * static_cast<double>(i), "start", of.lines[i].name);
	}
}

} // namespace

panel panel_of(const std::vector<row> &rows, const std::string &area, const std::string &subject, bool with_peers)
{
	panel made = {area + ", " + subject, "", {}};
	for (const row &of : rows) {
		if (of.area != area || of.subject != subject)
			continue;
		made.unit = of.unit;
		for (std::size_t i = 0; i < of.ways.size() && (i == 0 || with_peers); ++i) {
			const auto named = [&](const series &line) { return line.name == of.ways[i].way; };
			auto line = std::find_if(made.lines.begin(), made.lines.end(), named);
			if (line == made.lines.end())
				line = made.lines.insert(line, {of.ways[i].way, {}});
			line->points.emplace_back(of.size, of.ways[i].instructions);
		}
	}
	if (made.lines.empty())
		fail("no figures of " + made.title);
	return made;
}

void write_chart(std::ostream &out, const std::string &title, const std::vector<panel> &panels, bool logarithmic)
{
	const std::size_t lines = (panels.size() + panels_in_row - 1) / panels_in_row;
	const double width = panel_width * panels_in_row, height = head + panel_height * static_cast<double>(lines);
	out << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 " << width << " " << height << "' width='" << width << "' height='"
	    << height << "'>\n<title>" << title << "</title>\n"
	    << style << "<rect class='ground' width='100%' height='100%'/>\n";
	write_text(out, 16, 26, "start", title, "title");
	for (std::size_t i = 0; i < panels.size(); ++i)
		write_panel(out, panels[i], panel_width * static_cast<double>(i % panels_in_row),
			    head + panel_height * static_cast<double>(i / panels_in_row), logarithmic);
	out << "</svg>\n";
}

} // namespace bench
