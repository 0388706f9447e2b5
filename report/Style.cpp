// The style of reports: system fonts, two schemes of few colours, and a picture of each packet's way made of borders.
#include "report/Page.h"

namespace Strata::Report {

const std::string_view style = R"css(
:root{color-scheme:light dark;--paper:#fcfcfb;--ink:#1f2328;--dim:#59616b;--line:#d9dde2;--tint:#eef3f9;--link:#0a57a8;--good:#17692f;--warn:#7d4e00;--bad:#b3231a}
@media(prefers-color-scheme:dark){:root{--paper:#15181c;--ink:#e3e6ea;--dim:#a2abb5;--line:#363c44;--tint:#1e2732;--link:#83b8f5;--good:#78cc90;--warn:#e2b062;--bad:#ff8f85}}
*{box-sizing:border-box}
body{max-width:68rem;margin:0 auto;padding:1.5rem 1rem 4rem;background:var(--paper);color:var(--ink);font:1rem/1.5 system-ui,sans-serif;overflow-wrap:anywhere}
h1,h2,h3,h4{line-height:1.25;margin:0}
h1{font-size:1.6rem}
h2{font-size:1.25rem;margin:2.5rem 0 .25rem;padding-top:.75rem;border-top:1px solid var(--line)}
h3{font-size:1rem;margin:1.25rem 0 .25rem}
article h3{margin-top:0}
h4{font-size:.9rem;margin:.75rem 0 0}
p{margin:.35rem 0}
a{color:var(--link);text-decoration:none}
a:hover,a:focus-visible{text-decoration:underline}
code,.log,.way,td,tbody th{font-family:ui-monospace,monospace;font-size:.84rem}
code{font-size:.875em}
td code,.way code{font-size:1em}
:target{background:var(--tint);outline:2px solid var(--link);outline-offset:2px}
:focus-visible{outline:2px solid var(--link);outline-offset:1px}
nav{display:flex;flex-wrap:wrap;gap:.25rem 1.25rem;margin-top:.75rem}
.by,.faint,small,summary span,.way .by,td q{color:var(--dim)}
q{quotes:none}
.by,.faint{font-size:.9rem}
.good{color:var(--good)}.warn{color:var(--warn)}.bad{color:var(--bad)}
.note{border-left:3px solid var(--line);padding-left:.75rem;margin:.5rem 0}
.figures{display:flex;flex-wrap:wrap;gap:1rem 2rem;margin:1.5rem 0 0}
.figures div{display:flex;flex-direction:column-reverse}
.figures dt{color:var(--dim);font-size:.85rem}
.figures dd{margin:0}
.figures b{font-size:1.5rem;font-weight:600;font-variant-numeric:tabular-nums}
ul,ol{padding:0;margin:.5rem 0;list-style:none}
summary{cursor:pointer}
summary h3{display:inline;margin:0}
.events>li,article{display:grid;grid-template-columns:3.25rem minmax(0,1fr);gap:0 .5rem;padding:.3rem 0;border-bottom:1px solid var(--line)}
article{padding:.6rem 0}
.events>li>a,article>a{font-variant-numeric:tabular-nums;font-size:.84rem;padding-top:.15rem}
.events small{float:right;margin-left:.75rem;font-variant-numeric:tabular-nums}
.events p{margin:.1rem 0}
dl{display:grid;grid-template-columns:auto minmax(0,1fr);gap:0 .75rem;margin:.25rem 0}
dl.figures{display:flex}
dt{color:var(--dim)}dd{margin:0}
.log{margin:.4rem 0;padding-left:.75rem;border-left:2px solid var(--line)}
.log li{padding-left:2rem;text-indent:-2rem}
.log i{color:var(--dim);font-style:normal}
.log .same{color:var(--dim)}
.log .same b,em{color:var(--warn);font-style:normal;font-weight:600}
.log .child{white-space:pre-wrap}
td details,.way details{display:inline-block;vertical-align:top}
.wide{overflow-x:auto;margin:.5rem 0}
table{border-collapse:collapse;width:100%}
caption{text-align:left;color:var(--dim);font-size:.85rem;padding-bottom:.25rem}
th,td{text-align:left;vertical-align:top;padding:.25rem .75rem .25rem 0;border-top:1px solid var(--line);font-weight:400;min-width:6rem}
thead th{color:var(--dim);font-size:.85rem;border:0}
th[scope=rowgroup]{font-weight:600;font-family:inherit}
td:not(:last-child),tbody th{min-width:5rem}
.number{font-variant-numeric:tabular-nums}
.outcome{display:block}
.way{margin:.75rem 0 .5rem .4rem}
.way li{display:grid;grid-template-columns:7rem minmax(0,1fr);gap:0 .75rem;position:relative;padding:0 0 .8rem 1.4rem;border-left:2px solid var(--line)}
.way li:last-child{border-color:transparent;padding-bottom:0}
.way li::before{content:"";position:absolute;left:-.45rem;top:.3rem;width:.8rem;height:.8rem;border-radius:50%;border:2px solid var(--dim);background:var(--paper)}
.way b{font-weight:600}
.way p{margin:0}
.way .state::before,.way .misses::before,.way .unmatched::before{border-color:var(--line);width:.6rem;height:.6rem;left:-.36rem}
.way .state,.way .misses{color:var(--dim)}
.way .wins::before{background:var(--link);border-color:var(--link)}
.way .wins b,.way .wins b+div{color:var(--ink)}
.way .leaves::before{background:var(--good);border-color:var(--good)}
.way .cpu::before{background:var(--warn);border-color:var(--warn)}
.way .lost::before{background:var(--bad);border-color:var(--bad)}
.without{border-left:3px solid var(--link);padding-left:.75rem;margin:.75rem 0 .25rem}
@media(max-width:34rem){.way li{grid-template-columns:minmax(0,1fr)}.events>li,article{grid-template-columns:minmax(0,1fr)}}
@media print{:root{--paper:#fff;--ink:#000;--dim:#444;--line:#bbb;--tint:#fff;--link:#000;--good:#000;--warn:#000;--bad:#000}body{max-width:none;padding:0;font-size:9pt}nav{display:none}details::details-content{display:block;content-visibility:visible;height:auto}.wide{overflow:visible}h2,h3{break-after:avoid}tr,.way li{break-inside:avoid}}
)css";

} // namespace Strata::Report
