// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// Draws the page, and goes to what its address asks for: #q=0xD1FFD8, #v=2, #line=12.
function fragment() {
	const words = new URLSearchParams();
	if (data.variants.length > 1 && !data.variants[state.variant].own) words.set("v", data.variants[state.variant].number);
	if (by_id("query").value.trim()) words.set("q", by_id("query").value.trim());
	return "#" + words;
}

function subtitle() {
	const variant = data.variants[state.variant];
	return data.file + (variant ? " \u00b7 variant " + variant.number + ", " + variant.about : "");
}

function follow_fragment() {
	const words = new URLSearchParams(location.hash.slice(1));
	const index = data.variants.findIndex(one => String(one.number) === words.get("v"));
	if (index >= 0 && index !== state.variant) {
		state.variant = index;
		draw_map();
		draw_variant_choice();
		fill("subtitle", subtitle());
	}
	if (words.has("q")) {
		by_id("query").value = words.get("q");
		search(words.get("q"), true);
	}
	if (words.has("line")) show_line(Number(words.get("line")));
}

function start() {
	document.title = "Flash of " + visible(data.board || data.file);
	fill("title", "Flash of board ", element("span", { class: "name" }, data.board || "?"));
	fill("subtitle", subtitle());
	fill(
		"made-by",
		"Made by " +
			data.tool +
			" from " +
			data.file +
			(data.partitions ? " and " + data.partitions : ", without a list of partitions") +
			".",
	);
	start_map();
	start_search();
	draw_findings();
	draw_source();
	draw_map();
	draw_variant_choice();
	draw_variants();
	draw_simulation();
	fill(
		"parts",
		[...document.querySelectorAll("main > section:not([hidden])")]
			.filter(one => one.id !== "answers")
			.map(one => element("li", {}, element("a", { href: "#" + one.id }, one.querySelector("h2").textContent))),
	);
	follow_fragment();
	window.addEventListener("hashchange", follow_fragment);
	document.documentElement.dataset.ready = "yes";
}

start();
