// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The map: one axis, from all of it to single bytes.
const least_view = 16; // bytes
const view = { axes: [], axis: null, index: 0, from: 0, to: 1, focused: null, mark: null };

function view_width() {
	return Math.max(1, by_id("lanes").clientWidth);
}

// Of that width, which is another one on paper, where nothing is drawn anew.
function share(pixels) {
	return (100 * pixels) / view_width() + "%";
}

function clamp_view() {
	const length = view.axis.length;
	const size = Math.min(length, Math.max(Math.min(least_view, length), view.to - view.from));
	view.from = Math.min(Math.max(0, view.from), length - size);
	view.to = view.from + size;
}

let drawing_is_due = false;

function draw_soon() {
	if (drawing_is_due) return;
	drawing_is_due = true;
	requestAnimationFrame(() => {
		drawing_is_due = false;
		draw_view();
	});
}

function show_range(from, to) {
	view.from = from;
	view.to = to;
	clamp_view();
	draw_soon();
}

function zoom(factor, around = (view.from + view.to) / 2) {
	show_range(around - (around - view.from) * factor, around + (view.to - around) * factor);
}

// To single bytes, around what is meant: the begin of the focused part, or the middle.
function zoom_to_bytes(
	at = view.focused && view.focused.from >= view.from ? view.focused.from : Math.floor((view.from + view.to) / 2),
) {
	show_range(at - 4, at + 12);
}

function zoom_to(part) {
	const margin = Math.max(1, size_of(part) / 10);
	show_range(part.from - margin, part.to + margin);
}

function select_axis(index) {
	view.index = index;
	view.axis = view.axes[index].axis = view.axes[index].axis || view.axes[index].make();
	view.focused = null;
	view.mark = null;
	by_id("axis").value = String(index);
	fill("overview-spans", overview_parts(view.axis));
	show_range(0, view.axis.length);
}

// What is too narrow to be seen by itself is drawn as one with its neighbours.
const narrow = 3; // pixels

function blocks_of(lane, scale) {
	const blocks = [];
	for (const part of lane.parts) {
		if (part.to <= view.from || (part.from >= view.to && part.from > view.from)) continue;
		const last = blocks[blocks.length - 1];
		const left = Math.max(last ? last.right : 0, (Math.max(part.from, view.from) - view.from) * scale);
		const right = (Math.min(part.to, view.to) - view.from) * scale;
		const is_narrow = right - left < narrow;
		if (last && (part.from < last.end || (is_narrow && last.is_narrow && left - last.right < narrow))) {
			last.parts.push(part);
			last.right = Math.max(last.right, right);
			last.end = Math.max(last.end, part.to);
		} else {
			blocks.push({ left, right: Math.max(right, left + narrow), parts: [part], end: part.to, is_narrow });
		}
	}
	return blocks;
}

function label_of(block) {
	return block.parts.length === 1 ? block.parts[0].title : counted(block.parts.length, "part");
}

function spoken(block) {
	const only = block.parts.length === 1;
	const from = Math.min(...block.parts.slice(0, 1000).map(one => one.from));
	return only
		? words_for(block.parts[0]) +
				"; " +
				facts_of(block.parts[0])
					.map(one => one.join(": "))
					.join("; ")
		: counted(block.parts.length, "part") + " from " + hex(from) + " on; Enter zooms in";
}

function block_button(block, lane) {
	const only = block.parts.length === 1 ? block.parts[0] : null;
	const width = block.right - block.left;
	const words = label_of(block);
	const address = only && only.span && only.span.kind === "section" ? only.span.address : only ? only.from - only.begin : 0;
	const made = element(
		"button",
		{
			type: "button",
			tabindex: "-1",
			class:
				"block " +
				(only ? "" : "several ") +
				block.parts[0].kind +
				(only && only.bar.size !== null && only.to - only.begin > only.bar.size ? " beyond" : ""),
			"aria-label": spoken(block),
			"data-lane": lane,
		},
		width > 26 && block.parts[0].kind !== "shared" ? element("span", { class: "label" }, words) : "",
		width > 190 && only && only.span && only.kind !== "usable" ? element("span", { class: "address" }, hex(address)) : "",
	);
	made.style.left = share(block.left);
	made.style.width = share(Math.max(narrow, width));
	made.addEventListener("focus", () => focus_block(block));
	made.addEventListener("pointerenter", () => show_details(block));
	made.addEventListener("click", () => focus_block(block));
	made.addEventListener("dblclick", () => enter_block(block));
	made.block = block;
	return made;
}

function enter_block(block) {
	const from = Math.min(...block.parts.slice(0, 5000).map(one => one.from));
	const to = block.parts.slice(0, 5000).reduce((end, one) => Math.max(end, one.to), 0);
	zoom_to({ from, to });
}

function focus_block(block) {
	view.focused = block.parts[0];
	for (const one of by_id("lanes").querySelectorAll("button.block"))
		one.tabIndex = one.block.parts.includes(view.focused) ? 0 : -1;
	show_details(block);
}

function show_details(block) {
	const several = block.parts.length > 1;
	const items = block.parts.slice(0, several ? 12 : 1).map(part =>
		element(
			"div",
			{ class: "card " + part.kind },
			element("h4", {}, words_for(part)),
			element(
				"dl",
				{},
				facts_of(part).map(([name, text]) => [element("dt", {}, name), element("dd", {}, text)]),
			),
			part.span ? element("p", {}, line_link(part.span.line), findings_words(part.span.line)) : "",
		),
	);
	fill(
		"details",
		...(several
			? [
					element(
						"p",
						{ class: "hint" },
						counted(block.parts.length, "part") +
							" at this place" +
							(block.parts.length > 12 ? ", the first 12:" : ":"),
					),
				]
			: []),
		...items,
	);
}

function findings_words(line) {
	const found = findings_of_line(line);
	return found.length ? element("span", { class: "badge " + found[0].severity }, counted(found.length, "finding")) : "";
}

// Steps of 1, 2, 4 or 8 times a power of 16.
function ruler_step(scale) {
	const most = view.to - view.from >= 65536 ? 110 : 90;
	let step = 1;
	while (step * scale < most) step *= 2;
	return step;
}

function draw_ruler(scale) {
	const step = ruler_step(scale);
	const marks = [];
	for (let at = Math.ceil(view.from / step) * step; at <= view.to; at += step) {
		const left = (at - view.from) * scale;
		const mark = element("span", { class: "tick" }, left < view_width() - 9 * hex(at).length ? hex(at) : "");
		mark.style.left = share(left);
		marks.push(mark);
	}
	if (scale >= 18)
		for (let at = Math.ceil(view.from); at <= view.to; at++) {
			const mark = element("span", { class: "byte" }, (at % 256).toString(16).toUpperCase().padStart(2, "0"));
			mark.style.left = share((at - view.from) * scale);
			mark.style.width = share(scale);
			marks.push(mark);
		}
	fill("ruler", marks);
	by_id("viewer").classList.toggle("bytes", scale >= 18);
	by_id("lanes").style.setProperty("--byte", scale + "px");
	by_id("lanes").style.setProperty("--shift", (Math.ceil(view.from) - view.from) * scale + "px");
}

// The byte that was looked for.
function place_of_mark(scale) {
	if (view.mark === null || view.mark + 1 <= view.from || view.mark >= view.to) return [];
	const mark = element("div", { class: "mark", "aria-hidden": "true" });
	mark.style.left = share((view.mark - view.from) * scale);
	mark.style.width = share(scale);
	return [mark];
}

function draw_view() {
	if (!view.axis) return;
	const scale = view_width() / (view.to - view.from);
	const had_focus = by_id("lanes").contains(document.activeElement);
	const lanes = view.axis.lanes.map((lane, index) => {
		const row = element("div", { class: "lane lane-" + lane.kind });
		row.append(
			...blocks_of(lane, scale)
				.slice(0, 2000)
				.map(block => block_button(block, index)),
		);
		return row;
	});
	draw_ruler(scale);
	fill("lanes", lanes, ...place_of_mark(scale));
	const buttons = [...by_id("lanes").querySelectorAll("button.block")];
	const focused = buttons.find(one => view.focused && one.block.parts.includes(view.focused)) || buttons[0];
	if (focused) focused.tabIndex = 0;
	if (had_focus && focused) focused.focus({ preventScroll: true });
	fill(
		"range",
		hex(view.from) + " to " + hex(view.to) + " of " + hex(view.axis.length) + ", " + human(Math.round(view.to - view.from)),
	);
	by_id("window").style.left = (100 * view.from) / view.axis.length + "%";
	by_id("window").style.width = Math.max(0.3, (100 * (view.to - view.from)) / view.axis.length) + "%";
}

// A track with its own scale, without anything to press.
function track(parts, length, most = 800) {
	const made = [];
	let last = -1;
	for (const part of parts) {
		const left = 100 * Math.min(1, part.from / length);
		const width = (100 * Math.max(0, Math.min(length, part.to) - Math.min(length, part.from))) / length;
		if (made.length >= most || (width < 0.15 && left - last < 0.15)) continue;
		last = left;
		const one = element("span", { class: "piece " + part.kind });
		one.style.left = left + "%";
		one.style.width = Math.max(0.3, width) + "%";
		made.push(one);
	}
	return made;
}

function overview_parts(axis) {
	return track(axis.has_places ? axis.lanes[0].parts : [], axis.length).concat(
		track(
			axis.parts.filter(one => kinds.includes(one.kind)),
			axis.length,
		),
		track(
			axis.parts.filter(one => one.kind === "shared"),
			axis.length,
		),
	);
}

// Everything of the variant that is chosen.
function draw_map() {
	const variant = data.variants[state.variant];
	const notices = variant ? variant.left_out : [];
	by_id("map-notice").hidden = !data.no_map && !notices.length;
	fill("map-notice", data.no_map || "Left out: " + notices.join("; "));
	view.axes = make_axes();
	by_id("map-body").hidden = !view.axes.length;
	fill(
		"axis",
		view.axes.slice(0, 2000).map((one, index) => element("option", { value: index }, one.title)),
	);
	if (view.axes.length) select_axis(Math.min(view.index, view.axes.length - 1));
	draw_bars();
}

function axis_with(bar) {
	const device =
		bar.offset === null ? -1 : view.axes.findIndex(one => !one.bar && one.title === data.groups[bar.group] + " (whole)");
	return device >= 0 ? device : view.axes.findIndex(one => one.bar === bar);
}

// Shows bytes of a bar, as narrow as they are asked for.
function show_in_map(bar, from, to, focus = null, scrolls = true) {
	const index = axis_with(bar);
	if (index < 0) return;
	if (index !== view.index) select_axis(index);
	const begin = view.axis.has_places ? bar.offset : 0;
	view.focused = view.axis.parts.find(one => focus && one.span === focus) || null;
	view.mark = to - from === 1 ? begin + from : null;
	zoom_to({ from: begin + from, to: begin + to });
	if (scrolls) by_id("map").scrollIntoView();
	if (view.focused) show_details({ parts: [view.focused] });
}
