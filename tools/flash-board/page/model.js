// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What the page holds, and the axes that are drawn of it.
const data = JSON.parse(by_id("data").textContent);
const kinds = ["section", "usable", "spi_partition"];
const state = {
	variant: Math.max(
		0,
		data.variants.findIndex(one => one.own),
	),
};

function bars_of_variant() {
	return data.bars.filter(bar => spans_of(bar).length || !bar.missing);
}

const spans_by_bar = new Map();
for (const span of data.spans) {
	if (!spans_by_bar.has(span.bar)) spans_by_bar.set(span.bar, []);
	spans_by_bar.get(span.bar).push(span);
}
data.bars.forEach((bar, index) => {
	bar.index = index;
});

// What lies in a bar in the variant that is shown.
function spans_of(bar, variant = state.variant) {
	return (spans_by_bar.get(bar.index) || []).filter(one => one.variants === null || one.variants.includes(variant));
}

function known_end(bar) {
	return bar.size !== null ? bar.size : spans_of(bar).reduce((end, one) => Math.max(end, one.to), 0);
}

// The end of what is drawn; beyond the known end where the size is not known.
function extent(bar) {
	const end = known_end(bar);
	return Math.max(1, bar.size !== null ? end : Math.ceil(end ? end * 1.25 : (bar.offset || 0) / 16));
}

// Parts of [0, end) that at least so many of the ranges cover.
function covered(ranges, end, least) {
	const steps = [];
	for (const one of ranges) if (one.from < one.to && one.from < end) steps.push([one.from, 1], [Math.min(end, one.to), -1]);
	steps.sort((a, b) => a[0] - b[0] || b[1] - a[1]);
	const found = [];
	let depth = 0;
	let from = 0;
	for (const [at, step] of steps) {
		if (depth < least && depth + step >= least) from = at;
		if (depth >= least && depth + step < least && at > from) {
			if (found.length && found[found.length - 1].to === from) found[found.length - 1].to = at;
			else found.push({ from, to: at });
		}
		depth += step;
	}
	return found;
}

function free_ranges(bar) {
	const free = [];
	let at = 0;
	for (const one of [...covered(spans_of(bar), known_end(bar), 1), { from: known_end(bar), to: known_end(bar) }]) {
		if (one.from > at) free.push({ from: at, to: one.from });
		at = one.to;
	}
	return free;
}

function shared_ranges(bar) {
	return covered(
		spans_of(bar).filter(one => one.kind !== "usable"),
		extent(bar),
		2,
	);
}

// A part of an axis: where it is drawn, and what it stands for.
function part_of(bar, begin, kind, title, from, to, span = null) {
	return { bar, begin, kind, title, from: begin + from, to: begin + to, span };
}

function parts_of_bar(bar, begin, end) {
	const parts = [part_of(bar, begin, bar.instance === null ? "partition" : "flash", bar.title, 0, end)];
	for (const one of spans_of(bar)) parts.push(part_of(bar, begin, one.kind, one.title, one.from, one.to, one));
	for (const one of free_ranges(bar)) parts.push(part_of(bar, begin, "free", "free", one.from, one.to));
	for (const one of shared_ranges(bar)) parts.push(part_of(bar, begin, "shared", "overlap", one.from, one.to));
	if (bar.size === null) parts.push(part_of(bar, begin, "unknown", "size not known", known_end(bar), end));
	return parts;
}

function axis_of_bars(title, name, bars, has_places) {
	const axis = { title, name, length: 1, parts: [], has_places };
	for (const bar of bars) {
		const begin = has_places ? bar.offset : 0;
		axis.parts.push(...parts_of_bar(bar, begin, extent(bar)));
		axis.length = Math.max(axis.length, begin + extent(bar));
	}
	axis.lanes = lanes_of(axis.parts);
	return axis;
}

// A flash whose partitions have known places is one axis; any other bar is one of its own.
function make_axes() {
	const axes = [];
	const devices = new Map();
	for (const bar of bars_of_variant())
		if (bar.offset !== null) devices.set(bar.group, [...(devices.get(bar.group) || []), bar]);
	for (const [group, bars] of devices)
		axes.push({
			title: data.groups[group] + " (whole)",
			make: () => axis_of_bars(data.groups[group] + " (whole)", data.groups[group], bars, true),
		});
	for (const bar of bars_of_variant())
		axes.push({ title: bar.title, bar, make: () => axis_of_bars(bar.title, bar.title, [bar], false) });
	return axes;
}

// Lanes: partitions, then what lies in them, side by side where there is room. What needs more lanes than these shares the last.
const most_lanes = 7;

function lanes_of(parts) {
	const lanes = [{ kind: "partition", parts: parts.filter(one => one.kind === "partition" || one.kind === "flash") }];
	const rest = parts
		.filter(one => kinds.includes(one.kind) || one.kind === "free" || one.kind === "unknown")
		.sort((a, b) => a.from - b.from || b.to - a.to);
	const ends = [];
	for (const one of rest) {
		let lane = ends.findIndex(end => end <= one.from);
		if (lane < 0) lane = Math.min(ends.length, most_lanes - 1);
		ends[lane] = Math.max(ends[lane] || 0, one.to);
		(lanes[lane + 1] = lanes[lane + 1] || { kind: "content", parts: [] }).parts.push(one);
	}
	const shared = parts.filter(one => one.kind === "shared");
	if (shared.length) lanes.push({ kind: "shared", parts: shared });
	for (const lane of lanes) lane.parts.sort((a, b) => a.from - b.from || b.to - a.to);
	return lanes;
}

function size_of(part) {
	return part.to - part.from;
}

// What a part is, in words: pairs of a name and a text.
function facts_of(part) {
	const { bar, span } = part;
	const inside = { from: part.from - part.begin, to: part.to - part.begin };
	const range = one => hex(one.from) + " to " + hex(one.to);
	const facts = [];
	if (span && span.kind === "section")
		facts.push(["Addresses for callers", hex(span.address) + " to " + hex(span.address + span.to - span.from)]);
	if (part.kind !== "partition" && part.kind !== "flash")
		facts.push([bar.instance === null ? "Partition" : "Flash", bar.title], ["Bytes there", range(inside)]);
	if (bar.offset !== null)
		facts.push(["Bytes of " + data.groups[bar.group], range({ from: bar.offset + inside.from, to: bar.offset + inside.to })]);
	facts.push([
		"Size",
		part.kind === "unknown" || (part.kind === "partition" && bar.size === null)
			? "not known"
			: human(size_of(part)) + " (" + hex(size_of(part)) + ")",
	]);
	if (bar.size !== null && inside.to > bar.size) facts.push(["Beyond the end", human(inside.to - bar.size)]);
	return facts;
}

function words_for(part) {
	const names = { partition: "partition ", flash: "SPI flash ", spi_partition: "SPI partition " };
	return (names[part.kind] || "") + part.title;
}
