// The page of `tavrel serve`: the installation's tree on the left, the selected
// scenario on the right, and with editing allowed the forms that change it.
// Plain script, no build step and nothing fetched from elsewhere.
"use strict";

const state = {
  token: new URLSearchParams(location.search).get("token") || "",
  allowEdit: false,
  current: null, // { path, configuration, scenario }
};

function el(tag, attributes, ...children) {
  const node = document.createElement(tag);
  for (const [key, value] of Object.entries(attributes || {})) {
    if (key === "class") node.className = value;
    else if (key.startsWith("on")) node.addEventListener(key.slice(2), value);
    else node.setAttribute(key, value);
  }
  for (const child of children.flat()) {
    if (child === null || child === undefined) continue;
    node.append(child instanceof Node ? child : document.createTextNode(String(child)));
  }
  return node;
}

async function api(route, body) {
  const options = body === undefined ? {} : {
    method: "POST",
    headers: { "Content-Type": "application/json", "X-Tavrel-Token": state.token },
    body: JSON.stringify(body),
  };
  const response = await fetch(route, options);
  const data = await response.json().catch(() => ({ error: { message: response.statusText, code: -1 } }));
  if (!response.ok) {
    const error = new Error((data.error && data.error.message) || response.statusText);
    error.status = response.status;
    throw error;
  }
  return data;
}

function showError(container, error) {
  container.append(el("p", { class: "error" }, error.status ? `${error.status}: ${error.message}` : error.message));
}

// ---- the tree ---------------------------------------------------------------

async function loadTree() {
  const nav = document.getElementById("tree");
  try {
    const info = await api("/api/info");
    state.allowEdit = info.allowEdit;
    document.getElementById("installation").textContent = info.installation;
    document.getElementById("mode").textContent = info.allowEdit ? (state.token ? "editing" : "editing needs the token of the link printed at start") : "read-only";
    const tree = await api("/api/browse");
    const scenarioItem = (configuration, scenario) => el("li", {}, el("a", {
      class: "scenario", "data-path": scenario.path, "data-configuration": configuration,
      href: `#path=${encodeURIComponent(scenario.path)}&configuration=${encodeURIComponent(configuration)}`,
    }, scenario.path));
    const directoryItem = (configuration, directory) => el("li", {},
      el("div", { class: "directory", title: directory.path }, directory.path),
      directory.error ? el("p", { class: "error" }, directory.error.message) : null,
      el("ul", {}, (directory.scenarios || []).map(s => scenarioItem(configuration, s))));
    const configurationItem = configuration => el("li", {},
      el("div", { class: "configuration" }, configuration.name),
      configuration.error ? el("p", { class: "error" }, configuration.error.message) : null,
      el("ul", {}, (configuration.directories || []).map(d => directoryItem(configuration.name, d))));
    const versionItem = version => el("li", {},
      el("div", { class: "version" }, `Version ${version.version}`),
      el("ul", {}, (version.configurations || []).map(configurationItem)));
    nav.replaceChildren(el("ul", {}, (tree.versions || []).map(versionItem)));
  } catch (error) {
    nav.replaceChildren();
    showError(nav, error);
  }
}

// ---- one scenario -----------------------------------------------------------

function parameterTable(parameters) {
  if (!parameters || parameters.length === 0) return null;
  return el("table", { class: "parameters" },
    el("tr", {}, el("th", {}, "parameter"), el("th", {}, "type"), el("th", {}, "unit"), el("th", {}, "value")),
    parameters.map(p => el("tr", {},
      el("td", { class: "id" }, p.id), el("td", {}, p.type), el("td", {}, p.unit),
      el("td", { class: "value" }, p.error ? `(${p.error.message})` : (p.exposed === false ? `${p.value} (not exposed)` : p.value)))));
}

function nodeView(node, open) {
  const details = el("details", { class: "node" }, el("summary", {}, `${node.name}`, el("span", { class: "note" }, `  ${node.nodeId}`)));
  if (open) details.open = true;
  details.append(parameterTable(node.parameters) || el("p", { class: "note" }, "no parameters"));
  if (node.error) showError(details, node.error);
  for (const child of node.children || []) details.append(nodeView(child, false));
  return details;
}

function domainText(v) {
  if (v.type === "boolean") return "true or false";
  if (v.type === "literal") return (v.literals || []).map(l => JSON.stringify(l)).join(", ") || "(its default)";
  return (v.ranges || []).map(r => `[${r.minimum} … ${r.maximum}]`).join(", ") || "(its default)";
}

function variadicTable(variadics) {
  if (variadics.length === 0) return el("p", { class: "note" }, "No variadic parameters.");
  return el("table", { class: "variadics" },
    el("tr", {}, el("th", {}, "#"), el("th", {}, "name"), el("th", {}, "type"), el("th", {}, "target"),
      el("th", {}, "unit"), el("th", {}, "default"), el("th", {}, "domain"), state.allowEdit ? el("th", {}) : null),
    variadics.map((v, index) => el("tr", {},
      el("td", {}, index), el("td", { title: v.description || "" }, v.name), el("td", {}, v.type),
      el("td", { class: "id" }, v.target, v.targetFound ? "" : " (not found)"), el("td", {}, v.unit),
      el("td", {}, JSON.stringify(v.default)), el("td", { class: "domain" }, domainText(v)),
      state.allowEdit ? el("td", {}, el("button", { onclick: () => edit("/api/variadic/remove", { index }) }, "remove")) : null)));
}

async function selectScenario(path, configuration) {
  const section = document.getElementById("scenario");
  for (const link of document.querySelectorAll("a.scenario"))
    link.classList.toggle("selected", link.dataset.path === path && link.dataset.configuration === configuration);
  section.replaceChildren(el("p", { class: "note" }, `Loading ${path}…`));
  try {
    const scenario = await api(`/api/scenario?path=${encodeURIComponent(path)}&configuration=${encodeURIComponent(configuration)}`);
    state.current = { path, configuration, scenario };
    render();
  } catch (error) {
    section.replaceChildren();
    showError(section, error);
  }
}

function render() {
  const { path, configuration, scenario } = state.current;
  const section = document.getElementById("scenario");
  const scripts = (scenario.root.children || []).filter(c => c.id.startsWith("ScenarioScript"));
  const others = Object.assign({}, scenario.root, { children: (scenario.root.children || []).filter(c => !c.id.startsWith("ScenarioScript")) });
  section.replaceChildren(...[
    el("h2", { id: "scenario-name" }, scenario.name),
    el("p", { id: "scenario-description" }, scenario.description),
    el("p", { class: "file" }, `${configuration}: ${path} — `, el("a", { href: `/api/raw?path=${encodeURIComponent(path)}&configuration=${encodeURIComponent(configuration)}` }, scenario.file)),
    el("h3", {}, "Node tree"), nodeView(others, true),
    el("h3", {}, "Scripts"), scripts.length ? scripts.map(s => nodeView(s, true)) : el("p", { class: "note" }, "No scripts."),
    el("h3", {}, "Variadic parameters"), variadicTable(scenario.variadicParameters),
    state.allowEdit ? editForms(scenario) : null].flat().filter(Boolean));
}

// ---- editing ----------------------------------------------------------------

async function edit(route, body) {
  const { path, configuration, scenario } = state.current;
  const status = document.getElementById("edit-status") || el("p");
  try {
    const result = await api(route, Object.assign({ path, configuration, revision: scenario.revision }, body));
    if (result.scenario) {
      state.current.scenario = result.scenario;
      render();
    }
    return result;
  } catch (error) {
    status.replaceChildren();
    showError(status, error);
    if (!status.isConnected) document.getElementById("scenario").append(status);
    return null;
  }
}

function numberList(text) {
  return text.split(",").map(s => s.trim()).filter(Boolean);
}

// Checks the default against the ranges or literals before anything is sent.
function checkVariadic(form) {
  const type = form.type.value;
  const value = form.default.value.trim();
  if (!form.name.value.trim() || !form.target.value.trim()) return "a name and a target are needed";
  if (type === "boolean") return /^(true|false)$/.test(value) ? "" : "the default of a boolean is true or false";
  if (type === "literal") {
    const literals = numberList(form.domain.value);
    return literals.length === 0 || literals.includes(value) ? "" : "the default must be one of the literals";
  }
  const number = Number(value);
  if (value === "" || Number.isNaN(number) || (type === "integer" && !Number.isInteger(number))) return `the default is not ${type === "integer" ? "an integer" : "a number"}`;
  const ranges = numberList(form.domain.value).map(r => r.split(":").map(Number));
  if (ranges.some(r => r.length !== 2 || r.some(Number.isNaN) || (type === "integer" && !r.every(Number.isInteger)))) return "ranges are MIN:MAX, separated by commas";
  if (ranges.length && !ranges.some(([min, max]) => min <= number && number <= max)) return "the default lies outside every range";
  return "";
}

function editForms(scenario) {
  const status = el("p", { id: "edit-status" });
  const meta = el("form", { id: "meta-form" },
    el("label", {}, "name ", el("input", { name: "name", value: scenario.name })),
    el("label", {}, "description ", el("input", { name: "description", value: scenario.description, size: 40 })),
    el("button", { type: "submit" }, "save"));
  meta.addEventListener("submit", event => {
    event.preventDefault();
    edit("/api/scenario/set", { name: meta.name.value, description: meta.description.value });
  });

  const add = el("form", { id: "variadic-form" },
    el("input", { name: "name", placeholder: "name" }),
    el("input", { name: "target", placeholder: "target id", size: 36 }),
    el("select", { name: "type" }, ["integer", "real", "boolean", "literal"].map(t => el("option", { value: t }, t))),
    el("input", { name: "unit", placeholder: "unit", size: 6 }),
    el("input", { name: "default", placeholder: "default", size: 8 }),
    el("input", { name: "domain", placeholder: "ranges MIN:MAX,… or literals a,b", size: 24 }),
    el("button", { type: "submit" }, "add"));
  add.addEventListener("submit", event => {
    event.preventDefault();
    const problem = checkVariadic(add);
    add.default.classList.toggle("invalid", problem !== "");
    status.textContent = problem;
    if (problem) return;
    const type = add.type.value;
    const domain = numberList(add.domain.value);
    edit("/api/variadic/add", {
      name: add.name.value.trim(), target: add.target.value.trim(), type, unit: add.unit.value.trim(),
      default: add.default.value.trim(),
      ranges: type === "integer" || type === "real" ? domain : [],
      literals: type === "literal" ? domain : [],
    });
  });

  const files = el("ul", { class: "files", id: "variant-files" });
  const variants = el("form", { id: "variants-form" },
    el("select", { name: "mode" }, ["defaults", "grid", "random"].map(m => el("option", { value: m }, m))),
    el("label", {}, "steps ", el("input", { name: "steps", type: "number", min: 2, value: 3, size: 3 })),
    el("label", {}, "count ", el("input", { name: "count", type: "number", min: 1, value: 10, size: 4 })),
    el("label", {}, "seed ", el("input", { name: "seed", type: "number", min: 0, value: 1, size: 6 })),
    el("label", {}, "folder ", el("input", { name: "folder", value: "variants", size: 16 })),
    el("button", { type: "submit" }, "generate variants"));
  variants.addEventListener("submit", async event => {
    event.preventDefault();
    const result = await edit("/api/variants", {
      mode: variants.mode.value, steps: Number(variants.steps.value), count: Number(variants.count.value),
      seed: Number(variants.seed.value), folder: variants.folder.value,
    });
    if (result) files.replaceChildren(el("li", {}, result.manifest), result.variants.map(v => el("li", {}, v.file)));
  });

  return el("div", { class: "edit" },
    el("h3", {}, "Edit"), meta, add,
    el("form", {}, el("button", { type: "button", onclick: () => edit("/api/variadic/clear", {}) }, "remove every variadic parameter")),
    el("h3", {}, "Variants"), variants, files, status);
}

// ---- start ------------------------------------------------------------------

function selectFromHash() {
  const hash = new URLSearchParams(location.hash.slice(1));
  if (hash.get("path")) selectScenario(hash.get("path"), hash.get("configuration") || "");
}

window.addEventListener("hashchange", selectFromHash);
loadTree().then(selectFromHash);
