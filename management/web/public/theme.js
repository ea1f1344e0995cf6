// Runs before the first paint, so that a remembered choice does not flash.
document.documentElement.dataset.theme = localStorage.getItem("theme") ?? "";
