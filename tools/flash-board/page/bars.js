// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Each partition and flash to its own scale.
function bar_row(bar) {
	const end = extent(bar);
	const parts = parts_of_bar(bar, 0, end);
	const spans = spans_of(bar);
	const free = free_ranges(bar).reduce((sum, one) => sum + one.to - one.from, 0);
	const shown = spans.slice(0, 6);
	const lies = shown.map(one =>
		element(
			"li",
			{ class: one.kind },
			element(
				"button",
				{ type: "button", class: "link", onclick: () => show_in_map(bar, one.from, one.to, one) },
				one.title,
			),
			" " + (one.kind === "usable" ? "" : one.addresses),
			bar.size !== null && one.to > bar.size
				? element("span", { class: "badge error" }, human(one.to - bar.size) + " beyond the end")
				: "",
		),
	);
	return element(
		"tr",
		{ class: bar.missing ? "missing" : "" },
		element(
			"th",
			{ scope: "row" },
			element("button", { type: "button", class: "link", onclick: () => show_in_map(bar, 0, end) }, bar.title),
			bar.missing ? element("span", { class: "badge error" }, "no such partition") : "",
			element("small", {}, bar.place || (bar.size === null ? "size not known" : "")),
		),
		element(
			"td",
			{ class: "track-cell", role: "cell" },
			element(
				"div",
				{ class: "track", "aria-hidden": "true" },
				track(
					parts.filter(one => one.kind !== "partition" && one.kind !== "flash"),
					end,
					200,
				),
			),
		),
		element(
			"td",
			{},
			element(
				"ul",
				{ class: "lies" },
				lies,
				spans.length > 6 ? element("li", {}, (spans.length - 6).toLocaleString("en") + " more") : "",
				shared_ranges(bar).length
					? element(
							"li",
							{ class: "shared" },
							element("span", { class: "badge warning" }, "overlap"),
							" " +
								shared_ranges(bar)
									.slice(0, 3)
									.map(one => hex(one.from) + " to " + hex(one.to))
									.join(", "),
						)
					: "",
				free ? element("li", { class: "free" }, human(free) + " free") : "",
			),
		),
	);
}

function draw_bars() {
	const groups = new Map();
	for (const bar of bars_of_variant()) groups.set(bar.group, [...(groups.get(bar.group) || []), bar]);
	fill(
		"bars",
		[...groups]
			.map(([group, bars]) =>
				long_table(data.groups[group], ["Name", "What lies where, to its own scale", "In it"], bars, bar_row),
			)
			.flat(),
	);
	by_id("bars-title").hidden = !groups.size;
}
