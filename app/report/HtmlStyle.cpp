#include "app/report/HtmlReport.h"

namespace tolvane {

// Colours by meaning in one place for each of light, dark and paper. Nothing is told by colour alone.
const char* const kReportStyle = R"css(
:root {
  --paper: #fff; --ink: #1b1f24; --soft: #57606a; --line: #d0d7de; --wash: #f6f8fa;
  --good: #116329; --good-wash: #e6f6ea; --warn: #7a4b00; --warn-wash: #fff4d6; --grave: #a40e26; --grave-wash: #ffebe9;
  --p0: #fff; --p1: #eef1f4; --p2: #b6d3f0; --p3: #cfc3ea; --p4: #f3c89b; --p5: #7cc08a;
  --p6: #4f8fd6; --p7: #6b7785; --p8: #e7e3b0; --p9: #f2d04b; --p10: #d1242f; --p11: #111; --mark: #24292f;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #0f1318; --ink: #e6edf3; --soft: #9aa6b2; --line: #30363d; --wash: #171c23;
    --good: #6fdd8b; --good-wash: #12261a; --warn: #f0c258; --warn-wash: #2b2210; --grave: #ff8a80; --grave-wash: #321516;
    --p0: #0f1318; --p1: #232a33; --p2: #35597e; --p3: #5b4d86; --p4: #95602a; --p5: #2f7d45;
    --p6: #3f86d8; --p7: #8a96a3; --p8: #7c7738; --p9: #c9a227; --p10: #f0504f; --p11: #000; --mark: #e6edf3;
  }
}
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1.5rem 1.25rem 3rem; max-width: 62rem; background: var(--paper); color: var(--ink);
  font: 1rem/1.5 system-ui, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
h1 { margin: 0 0 1rem; font-size: 1.6rem; line-height: 1.25; overflow-wrap: anywhere; }
h2 { margin: 2rem 0 .6rem; font-size: 1.2rem; line-height: 1.35; }
p, li, dd, td, th { overflow-wrap: anywhere; }
p { margin: .4rem 0; }
.maker { margin: 0; color: var(--soft); font-size: .85rem; letter-spacing: .03em; }
.verdict { padding: 1rem 1.2rem; border: 1px solid var(--line); border-left: .4rem solid; border-radius: .4rem; }
.verdict h2 { display: flex; gap: .6rem; margin: 0 0 .4rem; font-size: 1.25rem; }
.sign { flex: none; width: 1.5em; height: 1.5em; margin-top: .1em; border: 2px solid; border-radius: 50%;
  line-height: 1.3em; text-align: center; font-size: .85em; }
.good { background: var(--good-wash); border-left-color: var(--good); } .good .sign { color: var(--good); }
.warn { background: var(--warn-wash); border-left-color: var(--warn); } .warn .sign { color: var(--warn); }
.grave { background: var(--grave-wash); border-left-color: var(--grave); } .grave .sign { color: var(--grave); }
.figures { display: flex; flex-wrap: wrap; gap: .4rem 2rem; margin: .8rem 0 0; padding: 0; list-style: none; }
.figures b { font-size: 1.35rem; font-variant-numeric: tabular-nums; }
.bad { color: var(--grave); font-weight: 600; }
ol { margin: .4rem 0; padding-left: 1.4rem; } ol li { margin: .25rem 0; }
dl { display: grid; grid-template-columns: minmax(8rem, max-content) 1fr; gap: .2rem 1.2rem; margin: .4rem 0; }
dt { color: var(--soft); } dd { margin: 0; min-width: 0; }
.path, code, pre { font-family: ui-monospace, "Cascadia Mono", Consolas, "DejaVu Sans Mono", monospace; font-size: .9em; }
pre { margin: .4rem 0; padding: .6rem .8rem; background: var(--wash); border: 1px solid var(--line); border-radius: .3rem;
  white-space: pre-wrap; overflow-wrap: anywhere; }
figure { margin: .6rem 0; overflow-x: auto; } figcaption { color: var(--soft); font-size: .85rem; }
.map { display: block; width: 100%; min-width: 38rem; height: auto; } .map text { fill: var(--soft); font-size: 9px; text-anchor: end; }
.mark { fill: none; stroke: var(--mark); stroke-width: 1; } .mark circle { fill: var(--mark); stroke: none; }
.mark .f { fill: var(--p10); stroke: none; } .mark .o { fill: none; stroke: var(--mark); stroke-width: 1.4; } .mark .w { stroke: #fff; stroke-width: 1.6; }
.look0 { fill: var(--p0); stroke: var(--line); stroke-dasharray: 2 1.5; } .look1 { fill: var(--p1); stroke: var(--line); }
.look2 { fill: var(--p2); } .look3 { fill: var(--p3); } .look4 { fill: var(--p4); } .look5 { fill: var(--p5); }
.look6 { fill: var(--p6); } .look7 { fill: var(--p7); } .look8 { fill: var(--p8); } .look9 { fill: var(--p9); }
.look10 { fill: var(--p5); } .look11 { fill: var(--p10); } .look12 { fill: var(--p11); stroke: var(--p10); }
.legend { display: flex; flex-wrap: wrap; gap: .2rem 1.4rem; margin: .5rem 0; padding: 0; list-style: none; font-size: .9rem; }
.legend svg { vertical-align: -1px; } .legend b { font-variant-numeric: tabular-nums; }
.wide { overflow-x: auto; }
table { width: 100%; border-collapse: collapse; font-size: .92rem; }
caption { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
th, td { padding: .3rem .6rem; border-bottom: 1px solid var(--line); text-align: left; vertical-align: top; }
thead th { color: var(--soft); font-weight: 600; border-bottom-width: 2px; white-space: nowrap; }
tbody th { min-width: 7em; font-weight: 600; }
.n { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
tfoot th, tfoot td { border-top: 2px solid var(--line); font-weight: 600; }
details { margin: .4rem 0; padding: .3rem .7rem; border: 1px solid var(--line); border-radius: .3rem; }
summary { cursor: pointer; font-weight: 600; overflow-wrap: anywhere; } summary small { color: var(--soft); font-weight: 400; }
footer { margin-top: 2.5rem; border-top: 1px solid var(--line); color: var(--soft); font-size: .85rem; }
@media print {
  :root { color-scheme: light; --paper: #fff; --ink: #000; --soft: #444; --line: #bbb; --wash: #fff; --good: #116329; --good-wash: #fff;
    --warn: #7a4b00; --warn-wash: #fff; --grave: #a40e26; --grave-wash: #fff; --p0: #fff; --p1: #eef1f4; --p2: #b6d3f0;
    --p3: #cfc3ea; --p4: #f3c89b; --p5: #7cc08a; --p6: #4f8fd6; --p7: #6b7785; --p8: #e7e3b0; --p9: #f2d04b; --p10: #d1242f;
    --p11: #111; --mark: #24292f; }
  @page { margin: 15mm; }
  body { max-width: none; padding: 0; font-size: 10pt; } table { font-size: 9pt; }
  h2 { break-after: avoid; } tr, .verdict, summary { break-inside: avoid; } thead { display: table-header-group; }
  .map { min-width: 0; } .map, .legend { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  details { border: 0; padding: 0; } details::details-content { content-visibility: visible; block-size: auto; }
}
)css";

}  // namespace tolvane
