#include "page/style.h"

namespace page {

const char *const style = R"css(
:root { --ink: #1b1f24; --paper: #ffffff; --faint: #57606a; --rule: #d0d7de; --tint: #f3f5f8; --mark: #0b5cad; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e6e9ed; --paper: #14181d; --faint: #a3adb8; --rule: #3a424c; --tint: #1e242b; --mark: #7db7f5; }
}
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1.5rem; max-width: 62rem; background: var(--paper); color: var(--ink);
  font: 1rem/1.45 system-ui, "DejaVu Sans", sans-serif; overflow-wrap: break-word; }
h1 { font-size: 1.6rem; margin: 0 0 .25rem; }
h2 { font-size: 1.2rem; margin: 2rem 0 .5rem; border-bottom: 1px solid var(--rule); padding-bottom: .2rem; }
h3 { font-size: 1rem; margin: 1.2rem 0 .4rem; }
p, ul { margin: .4rem 0; }
.verdict { display: inline-block; border: 2px solid currentColor; border-radius: .4rem; padding: .3rem .9rem;
  font-size: 1.25rem; font-weight: 700; margin: .6rem 0; }
.fail { text-decoration: underline; text-decoration-thickness: 2px; font-weight: 700; }
.note { color: var(--faint); font-size: .85rem; }
.scroll { overflow-x: auto; overflow-wrap: normal; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th, td { text-align: left; vertical-align: top; padding: .35rem .6rem .35rem 0; border-bottom: 1px solid var(--rule); }
th { font-weight: 600; }
.result { overflow-wrap: normal; }
td.number, th.number { text-align: right; white-space: nowrap; }
td p { margin: .15rem 0 0; }
.facts td { overflow-wrap: anywhere; }
code { font-family: "DejaVu Sans Mono", monospace; font-size: .85rem; }
figure { margin: 1rem 0; break-inside: avoid; }
figcaption { color: var(--faint); font-size: .85rem; }
svg { display: block; width: 100%; height: auto; color: var(--ink); background: var(--tint);
  border: 1px solid var(--rule); }
svg text { fill: currentColor; font-family: inherit; }
svg .stroke { fill: none; stroke: currentColor; stroke-linejoin: round; stroke-linecap: round; }
svg .pen { stroke-width: 3; }
svg .touch { stroke-width: 3; stroke-dasharray: 9 6; }
svg .erase { stroke-width: 3; stroke-dasharray: 1 8; }
svg .cell { fill: var(--mark); stroke: var(--mark); }
svg .blind { stroke: currentColor; stroke-width: 2; opacity: .55; }
svg .finding { stroke: var(--mark); fill: none; stroke-width: 3; }
svg .letter { paint-order: stroke; stroke: var(--tint); stroke-width: 5; font-weight: 700; }
svg .bar { fill: var(--mark); }
.signature { display: grid; grid-template-columns: repeat(3, 1fr); gap: 1.5rem; margin-top: 3rem; break-inside: avoid; }
.signature div { border-top: 1px solid currentColor; padding-top: .3rem; }
@media screen and (max-width: 40rem) {
  .figures thead { position: absolute; clip-path: inset(50%); }
  .figures tr { display: grid; grid-template-columns: repeat(3, minmax(0, 1fr)); border-bottom: 1px solid var(--rule); }
  .figures td { border: 0; padding-bottom: .1rem; }
  .figures td:first-child { grid-column: 1 / -1; }
  .figures td.number { text-align: left; }
}
@page { size: A4; margin: 15mm; }
@media print {
  :root { --ink: #000000; --paper: #ffffff; --faint: #333333; --rule: #999999; --tint: #ffffff; --mark: #444444; }
  body { padding: 0; max-width: none; font-size: 10pt; }
  h2, h3 { break-after: avoid; }
  tr { break-inside: avoid; }
}
)css";

} // namespace page
