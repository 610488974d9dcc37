#include "containers/page/StyleSheet.h"

#include <array>

#include <nettle/base64.h>
#include <nettle/sha2.h>

namespace kfab::page {
namespace {

// Colours never stand alone: words, numbers, outlines and dashes say the same.
constexpr Literal style = R"css(
:root {
    color-scheme: light dark;
    --paper: #ffffff; --panel: #f5f7f9; --line: #d3d9df; --ink: #1d2329; --quiet: #57616b;
    --link: #1a5aa8; --good: #17683a; --doubtful: #855300; --bad: #b02318;
    --pointer: #cfe1f5; --value: #d7ecd9; --control: #e4e1f2; --bar: #4a7fb8; --wrong: #f6cfcb;
}
@media screen and (prefers-color-scheme: dark) {
    :root {
        --paper: #13171c; --panel: #1b2127; --line: #3a434d; --ink: #e2e6ea; --quiet: #a0abb6;
        --link: #86b7f2; --good: #74cf95; --doubtful: #e2b65f; --bad: #ff968c;
        --pointer: #1f3f61; --value: #234a2e; --control: #3a3560; --bar: #5f9bd8; --wrong: #672a26;
    }
}
* { box-sizing: border-box; }
html { background: var(--paper); color: var(--ink); font: 1rem/1.5 system-ui, "DejaVu Sans", sans-serif; }
body { max-width: 72rem; margin: 0 auto; padding: 1.5rem 1rem 4rem; overflow-wrap: anywhere; }
h1, h2, h3 { line-height: 1.25; font-weight: 600; }
h1 { font-size: 1.75rem; margin: 0 0 1rem; }
h2 { font-size: 1.4rem; margin: 0 0 1rem; }
h3 { font-size: 1.05rem; margin: 2.25rem 0 .75rem; }
p, figure, dl, ul { margin: 0 0 1rem; }
a { color: var(--link); }
:focus-visible { outline: 3px solid var(--link); outline-offset: 2px; border-radius: 2px; }
.skip { position: absolute; left: -100vw; padding: .5rem 1rem; background: var(--paper); }
.skip:focus { left: 1rem; top: .5rem; }
.kind { display: block; color: var(--quiet); font-size: .85rem; font-weight: 400; }
.kernel { border-top: 1px solid var(--line); margin-top: 3rem; padding-top: 2rem; }
.quiet, figcaption, caption { color: var(--quiet); }
.good { color: var(--good); }
.doubtful { color: var(--doubtful); }
.bad { color: var(--bad); }
.good, .doubtful, .bad { font-weight: 600; }
code { font-family: ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; font-size: .92em; }

.facts { display: grid; grid-template-columns: max-content minmax(0, 1fr); gap: .25rem 1.5rem; }
.facts div { display: contents; }
.facts dt { color: var(--quiet); }
.facts dd { margin: 0; }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(10rem, 1fr)); gap: .75rem; margin: 1.25rem 0; }
.tiles div { background: var(--panel); border: 1px solid var(--line); border-radius: 6px; padding: .6rem .9rem; }
.tiles dt { color: var(--quiet); font-size: .85rem; }
.tiles dd { margin: 0; font-size: 1.05rem; font-weight: 600; font-variant-numeric: tabular-nums; }

.scroll { overflow-x: auto; margin: 0 0 1rem; }
table { border-collapse: collapse; min-width: 50%; font-size: .93rem; }
caption { text-align: left; padding: 0 0 .5rem; }
th, td { text-align: left; vertical-align: top; overflow-wrap: break-word; padding: .3rem 1.25rem .3rem 0; border-bottom: 1px solid var(--line); }
th:last-child, td:last-child { padding-right: 0; }
thead th { color: var(--quiet); font-weight: 400; font-size: .85rem; vertical-align: bottom; }
tbody th { font-weight: 600; }
td.good { font-weight: 400; }
.long { overflow-wrap: anywhere; min-width: 9em; }
.word { white-space: nowrap; }
.number { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
.bar { display: inline-block; width: 6rem; height: .7em; margin-right: .6rem; }

svg { display: block; }
svg text { font: 13px ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; fill: var(--ink); unicode-bidi: isolate; }
svg .quiet { fill: var(--quiet); font-size: 11px; font-weight: 400; }
svg .strong { font-weight: 600; }
.picture { width: 100%; height: auto; max-width: 30rem; margin-bottom: .5rem; }
.box { fill: var(--panel); stroke: var(--ink); stroke-width: 1.5; }
.pin, .head { fill: var(--ink); }
.memory { stroke: var(--ink); stroke-width: 3; }
.stream { stroke: var(--ink); stroke-width: 1.25; }
.unknown { stroke: var(--quiet); stroke-width: 1.25; stroke-dasharray: 4 3; }
.track { fill: var(--paper); stroke: var(--quiet); stroke-width: 1; vector-effect: non-scaling-stroke; }
.filled { fill: var(--bar); }
.over { fill: var(--bad); }
.mark { stroke: var(--ink); stroke-width: 2; }
.control, .value, .pointer { stroke: var(--ink); stroke-width: 1; }
.control { fill: var(--control); }
.value { fill: var(--value); }
.pointer { fill: var(--pointer); }
.gap { fill: none; stroke: var(--quiet); stroke-width: 1; stroke-dasharray: 3 3; }
.wrong { fill: var(--wrong); stroke: var(--bad); stroke-width: 2; }
.lead { fill: none; stroke: var(--quiet); stroke-width: 1; }

.tree, .tree ul { list-style: none; margin: 0; padding: 0; }
.tree { margin-bottom: 1rem; }
.tree ul { padding-left: 1.25rem; }
.row { display: flex; flex-wrap: wrap; align-items: baseline; gap: 0 .75rem; padding: .3rem 0; font-size: .93rem;
    border-bottom: 1px solid var(--line); font-variant-numeric: tabular-nums; }
.row::before { content: ""; width: .9em; }
summary.row { cursor: pointer; }
summary.row::before { content: "\25B8" / ""; color: var(--quiet); }
details[open] > summary.row::before { content: "\25BE" / ""; }
.who { flex: 1 1 12rem; }
.who bdi { margin-right: .5rem; }
.row .bar { width: 5rem; margin: 0; }
.figure { width: 6em; text-align: right; }
.timing { min-width: 10em; text-align: right; white-space: nowrap; }
.findings { padding-left: 1.25rem; }
.findings li { margin-bottom: .75rem; }
.findings p { margin: 0; }

@media (min-width: 62rem) {
    .pair { display: grid; grid-template-columns: minmax(0, 1fr) minmax(0, 1fr); gap: 0 2rem; align-items: start; }
    .pair table { width: 100%; }
}
@media (max-width: 40rem) {
    .facts { grid-template-columns: minmax(0, 1fr); gap: 0; }
    .facts dd { margin-bottom: .5rem; }
    th, td { padding-right: .5rem; }
    table { font-size: .8rem; min-width: 100%; }
    .long { min-width: 4.5em; }
    td .bar { width: 3rem; margin-right: .3rem; }
    .row .bar { display: none; }
    .who { flex-basis: calc(100% - 3rem); }
    .figure, .timing { width: auto; min-width: 0; }
}
@media print {
    :root { color-scheme: light; }
    html { font-size: 10pt; }
    body { max-width: none; padding: 0; }
    a { color: inherit; }
    .skip, .back { display: none; }
    .kernel { border: 0; margin: 0; padding: 0; break-before: page; }
    h2, h3, caption { break-after: avoid; }
    figure, tr, li, .tiles { break-inside: avoid; }
    .tree li { break-inside: auto; }
    .scroll { overflow: visible; }
    details::details-content { content-visibility: visible; block-size: auto; display: block; }
}
)css";

}  // namespace

Literal styleSheet() {
    return style;
}

std::string contentSecurityPolicy() {
    const std::string_view text = style.text();
    sha256_ctx context;
    sha256_init(&context);
    sha256_update(&context, text.size(), reinterpret_cast<const std::uint8_t*>(text.data()));
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
    sha256_digest(&context, digest.size(), digest.data());
    std::string hash(BASE64_ENCODE_RAW_LENGTH(SHA256_DIGEST_SIZE), '\0');
    base64_encode_raw(hash.data(), digest.size(), digest.data());
    return "default-src 'none'; style-src 'sha256-" + hash + "'; base-uri 'none'; form-action 'none'";
}

}  // namespace kfab::page
