// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// The map by pointer and keys.
// The address under the pointer, in each way to count.
function read_out(at) {
	if (at < 0 || at >= view.axis.length) return;
	const words = [view.axis.name + " " + padded(at, view.axis.length)];
	const partition = view.axis.lanes[0].parts.find(one => one.from <= at && at < one.to);
	if (partition && view.axis.has_places) words.push(partition.title + " + " + hex(at - partition.from));
	for (const lane of view.axis.lanes.slice(1))
		for (const part of lane.parts)
			if (part.from <= at && at < part.to && part.span && words.length < 6)
				words.push(
					part.title + (part.span.kind === "section" ? " address " + hex(part.span.address + at - part.from) : ""),
				);
	fill("readout", words.join("  \u00b7  "));
}

function move_focus(step, lanes) {
	const buttons = [...by_id("lanes").querySelectorAll("button.block")];
	const now = document.activeElement;
	if (lanes) {
		const lane = Number(now.dataset.lane) + step;
		const middle = now.offsetLeft + now.offsetWidth / 2;
		const distance = one => Math.max(0, one.offsetLeft - middle, middle - one.offsetLeft - one.offsetWidth);
		const nearest = buttons.filter(one => Number(one.dataset.lane) === lane).sort((a, b) => distance(a) - distance(b))[0];
		if (nearest) nearest.focus({ preventScroll: true });
		return;
	}
	const row = buttons.filter(one => one.dataset.lane === now.dataset.lane);
	const next = row[row.indexOf(now) + step];
	if (next) next.focus({ preventScroll: true });
	else show_range(view.from + (step * (view.to - view.from)) / 4, view.to + (step * (view.to - view.from)) / 4);
}

const map_keys = {
	ArrowLeft: () => move_focus(-1, false),
	ArrowRight: () => move_focus(1, false),
	ArrowUp: () => move_focus(-1, true),
	ArrowDown: () => move_focus(1, true),
	Enter: () => enter_block(document.activeElement.block),
	"+": () => zoom(0.5, focused_place()),
	"=": () => zoom(0.5, focused_place()),
	"-": () => zoom(2, focused_place()),
	0: () => show_range(0, view.axis.length),
	b: () => zoom_to_bytes(),
};

// What is to stay in sight when zooming by keys.
function focused_place() {
	const part = view.focused;
	if (!part || part.to <= view.from || part.from >= view.to) return (view.from + view.to) / 2;
	return part.from >= view.from ? part.from : Math.min(part.to, view.to);
}

function on_map_key(event) {
	if (event.ctrlKey || event.altKey || event.metaKey || !map_keys[event.key] || !document.activeElement.block) return;
	event.preventDefault();
	map_keys[event.key]();
}

const pointers = new Map();

function place_of_pointer(event) {
	const frame = by_id("lanes").getBoundingClientRect();
	return view.from + ((event.clientX - frame.left) / view_width()) * (view.to - view.from);
}

function on_pointer_move(event) {
	const at = place_of_pointer(event);
	const frame = by_id("viewer").getBoundingClientRect();
	by_id("pointer").hidden = false;
	by_id("pointer").style.left = event.clientX - frame.left + "px";
	read_out(Math.floor(at));
	const before = pointers.get(event.pointerId);
	if (!before) return;
	const others = [...pointers].filter(([id]) => id !== event.pointerId).map(([, one]) => one);
	const per_pixel = (view.to - view.from) / view_width();
	if (others.length) {
		const old_gap = Math.max(10, Math.abs(before.clientX - others[0].clientX));
		zoom(old_gap / Math.max(10, Math.abs(event.clientX - others[0].clientX)), place_of_pointer(others[0]));
	} else if (Math.abs(event.clientX - before.clientX) > 2) {
		show_range(
			view.from - (event.clientX - before.clientX) * per_pixel,
			view.to - (event.clientX - before.clientX) * per_pixel,
		);
	} else {
		return;
	}
	pointers.set(event.pointerId, event);
}

function move_window(event) {
	const frame = by_id("overview").getBoundingClientRect();
	const at = ((event.clientX - frame.left) / frame.width) * view.axis.length;
	const half = (view.to - view.from) / 2;
	if (event.buttons) show_range(at - half, at + half);
}

function start_map() {
	by_id("axis").addEventListener("change", event => select_axis(Number(event.target.value)));
	by_id("zoom-in").addEventListener("click", () => zoom(0.5, focused_place()));
	by_id("zoom-out").addEventListener("click", () => zoom(2, focused_place()));
	by_id("zoom-all").addEventListener("click", () => show_range(0, view.axis.length));
	by_id("zoom-bytes").addEventListener("click", () => zoom_to_bytes());
	const viewer = by_id("viewer");
	viewer.addEventListener("keydown", on_map_key);
	viewer.addEventListener("pointermove", on_pointer_move);
	viewer.addEventListener("pointerdown", event => pointers.set(event.pointerId, event));
	viewer.addEventListener("pointerleave", () => {
		by_id("pointer").hidden = true;
	});
	for (const name of ["pointerup", "pointercancel"]) window.addEventListener(name, event => pointers.delete(event.pointerId));
	viewer.addEventListener(
		"wheel",
		event => {
			if (!event.ctrlKey && !event.metaKey) return;
			event.preventDefault();
			zoom(event.deltaY > 0 ? 1.25 : 0.8, place_of_pointer(event));
		},
		{ passive: false },
	);
	by_id("overview").addEventListener("pointerdown", move_window);
	by_id("overview").addEventListener("pointermove", move_window);
	new ResizeObserver(draw_soon).observe(viewer);
	fill(
		"legend",
		["section", "usable", "spi_partition", "free", "shared", "unknown"].map(kind =>
			element(
				"li",
				{},
				element("span", { class: "swatch " + kind }),
				{
					section: "section",
					usable: "updated as a whole",
					spi_partition: "SPI partition",
					free: "free",
					shared: "overlap",
					unknown: "size not known",
				}[kind],
			),
		),
	);
}
