// How the page looks.
#pragma once

namespace gallery {

inline constexpr char style[] = R"css(
:root { color-scheme: light dark; --ground: #f6f5f2; --card: #fff; --ink: #22242a; --soft: #6a6f7a; --line: #dedcd6;
  --accent: #b4531f; --code: #f2f0eb; --shadow: 0 1px 2px #0001, 0 4px 14px #0000000d; }
@media (prefers-color-scheme: dark) { :root { --ground: #15171b; --card: #1e2127; --ink: #e4e6ea; --soft: #99a0ad;
  --line: #31353d; --accent: #f0a070; --code: #15171b; --shadow: none; } }
* { box-sizing: border-box; }
html { scroll-behavior: smooth; }
body { margin: 0; background: var(--ground); color: var(--ink); font: 16px/1.5 system-ui, sans-serif; display: grid;
  grid-template-columns: 15rem minmax(0, 1fr); }
a { color: inherit; text-decoration: none; }
nav { position: sticky; top: 0; height: 100vh; overflow-y: auto; padding: 1.2rem 1rem 2rem; border-right: 1px solid var(--line);
  font-size: .84rem; }
nav .top { font-weight: 700; font-size: 1rem; }
nav h2 { font-size: .72rem; letter-spacing: .08em; text-transform: uppercase; color: var(--accent); margin: 1.3rem 0 .2rem; }
nav h3 { font-size: .84rem; margin: .6rem 0 .1rem; font-weight: 600; }
nav ul { list-style: none; margin: 0; padding: 0; }
nav li a { display: block; padding: .05rem .6rem; color: var(--soft); border-left: 2px solid var(--line); }
nav li a:hover { color: var(--accent); border-color: var(--accent); }
nav li a.failed { color: #c22; font-weight: 700; }
main { padding: 2rem clamp(1rem, 3vw, 3rem) 6rem; max-width: 92rem; }
h1 { font-size: 2.2rem; margin: 0 0 .3rem; letter-spacing: -.02em; }
header p { max-width: 48rem; margin: .4rem 0; }
header .small { color: var(--soft); font-size: .88rem; }
main > h2 { font-size: 1.6rem; margin: 3rem 0 .2rem; padding-top: 1rem; border-top: 3px solid var(--accent); }
main > h3 { font-size: 1.2rem; margin: 2rem 0 0; }
.family { color: var(--soft); margin: .1rem 0 1rem; max-width: 48rem; }
article { background: var(--card); border: 1px solid var(--line); border-radius: 10px; box-shadow: var(--shadow);
  padding: 1rem 1.25rem; margin: 0 0 1.25rem; scroll-margin-top: 1rem; }
article:target { border-color: var(--accent); }
h4 { margin: 0; font-size: 1.05rem; }
article > p { margin: .1rem 0 .8rem; max-width: 52rem; }
.sides, .shots { display: flex; gap: .9rem; align-items: flex-start; }
.sides { gap: 2.4rem; }
.side { position: relative; flex: var(--count) 1 0; min-width: 0; max-width: calc(var(--count) * 26rem); }
.side + .side::before { content: "\2192"; position: absolute; left: -1.85rem; top: 5rem; font-size: 1.3rem; color: var(--soft); }
.many { flex-wrap: wrap; }
h5 { margin: 0 0 .3rem; font-size: .72rem; font-weight: 600; letter-spacing: .08em; text-transform: uppercase;
  color: var(--soft); }
figure { margin: 0; flex: 1 1 0; min-width: 0; max-width: min(var(--width), 26rem); }
.many figure { flex: 0 1 15rem; }
figure a { position: relative; display: block; line-height: 0; }
figure img { width: 100%; height: auto; border-radius: 4px; background: var(--line); }
figure img.pixels { image-rendering: pixelated; }
figure svg { position: absolute; inset: 0; width: 100%; height: 100%; overflow: visible; pointer-events: none; }
rect { fill: none; vector-effect: non-scaling-stroke; }
rect.under { stroke: #000a; stroke-width: 4; }
rect.over { stroke: #ffd84a; stroke-width: 2; }
figcaption { margin-top: .35rem; font-size: .8rem; line-height: 1.45; color: var(--soft); }
figcaption b { color: var(--ink); font: 600 .84rem ui-monospace, monospace; margin-right: .3rem; }
.chip { display: inline-block; margin: .1rem .3rem 0 0; padding: 0 .45rem; border: 1px solid var(--line); border-radius: 99px;
  white-space: nowrap; }
pre { margin: .9rem 0 0; padding: .6rem .8rem; background: var(--code); border-radius: 6px; overflow-x: auto; display: grid;
  grid-template-columns: minmax(0, max-content) max-content; column-gap: 2rem; font: .84rem/1.6 ui-monospace, monospace; }
pre code { font: inherit; white-space: pre-wrap; overflow-wrap: anywhere; padding-left: 2rem; text-indent: -2rem; }
pre i { font-style: normal; color: var(--accent); text-align: right; }
.note { margin: .6rem 0 0; font-size: .88rem; color: var(--soft); }
.failure { margin: .6rem 0 0; padding: .3rem .7rem; background: #c22; color: #fff; border-radius: 4px; }
@media (max-width: 60rem) { body { display: block; } nav { position: static; height: auto; border: 0; columns: 2; }
  .sides, .shots { flex-wrap: wrap; } .side { flex: 1 1 100%; } .side + .side::before { display: none; }
  figure { flex: 0 1 20rem; } }
)css";

}  // namespace gallery
