// How the page looks.
#pragma once

namespace gallery {

inline constexpr char style[] = R"css(
:root { color-scheme: light dark; --ground: #f6f5f2; --card: #fff; --ink: #22242a; --soft: #6a6f7a; --line: #dedcd6;
  --accent: #b4531f; --code: #f2f0eb; --shadow: 0 1px 2px #0001, 0 4px 14px #0000000d; }
@media (prefers-color-scheme: dark) { :root { --ground: #15171b; --card: #1e2127; --ink: #e4e6ea; --soft: #99a0ad;
  --line: #31353d; --accent: #f0a070; --code: #15171b; --shadow: none; } }
* { box-sizing: border-box; }
[hidden] { display: none !important; }
body { margin: 0; background: var(--ground); color: var(--ink); font: 16px/1.5 system-ui, sans-serif; display: grid;
  grid-template-columns: 16rem minmax(0, 1fr); }
a { color: inherit; text-decoration: none; }
button, input { font: inherit; color: inherit; background: var(--card); border: 1px solid var(--line); border-radius: 6px; }
button { padding: 0 .6rem; cursor: pointer; }
button:hover { border-color: var(--accent); color: var(--accent); }
summary { cursor: pointer; }
nav { position: sticky; top: 0; height: 100vh; overflow-y: auto; padding: 1.2rem 1rem 2rem; border-right: 1px solid var(--line);
  font-size: .84rem; }
nav .top { font-weight: 700; font-size: 1rem; }
nav input { width: 100%; margin: .7rem 0 .2rem; padding: .3rem .6rem; }
nav p { display: flex; justify-content: space-between; margin: .4rem 0 0; }
nav p a { color: var(--accent); }
nav h2 { font-size: .72rem; letter-spacing: .08em; text-transform: uppercase; color: var(--accent); margin: 1.2rem 0 .2rem; }
nav ul { list-style: none; margin: 0 0 .4rem; padding: 0; }
nav li a { display: block; padding: .05rem .6rem; color: var(--soft); border-left: 2px solid var(--line);
  overflow-wrap: anywhere; }
nav li a:hover { color: var(--accent); border-color: var(--accent); }
nav li a[aria-current] { color: var(--ink); font-weight: 600; border-color: var(--accent); background: var(--code); }
nav li a.failed { color: #c22; font-weight: 700; }
main { padding: 2rem clamp(.6rem, 2vw, 2.5rem) 6rem; min-width: 0; }
h1 { font-size: 2.2rem; margin: 0 0 .3rem; letter-spacing: -.02em; }
header p { max-width: 60rem; margin: .4rem 0; }
header .small { color: var(--soft); font-size: .88rem; }
main > h2 { font-size: 1.5rem; margin: 2.4rem 0 .6rem; padding-top: .8rem; border-top: 3px solid var(--accent); }
.family { margin: 0 0 .8rem; scroll-margin-top: 1rem; }
.family > summary { display: grid; grid-template-columns: auto minmax(0, 1fr) auto; gap: .2rem .8rem; align-items: center;
  padding: .5rem 1rem; background: var(--card); border: 1px solid var(--line); border-radius: 10px; }
.family > summary::before { content: "\25B8"; color: var(--accent); grid-row: 1 / 3; }
.family[open] > summary::before { content: "\25BE"; }
.family[open] > summary { margin-bottom: .8rem; }
.family > summary h3 { font-size: 1.15rem; margin: 0; }
.family > summary small { color: var(--soft); font-weight: 400; }
.family > summary p { grid-column: 2; color: var(--soft); margin: 0; }
.strip { grid-column: 3; grid-row: 1 / 3; display: flex; gap: .3rem; }
.strip img { height: 3rem; width: 4rem; object-fit: cover; border-radius: 4px; }
.family[open] .strip { display: none; }
.entries { display: flex; flex-wrap: wrap; gap: .8rem; }
article { background: var(--card); border: 1px solid var(--line); border-radius: 10px; box-shadow: var(--shadow);
  padding: .8rem 1rem; scroll-margin-top: .6rem; min-width: 0; max-width: 72rem; flex: 1 1 min(100%, 30rem); }
article.wide { max-width: none; flex: 1.5 1 min(100%, 45rem); }
article.widest { max-width: none; flex: 1 0 100%; }
article:target { border-color: var(--accent); }
h4 { margin: 0; font-size: 1.05rem; overflow-wrap: anywhere; }
article > p { margin: .1rem 0 .6rem; max-width: 60rem; }
.sides { display: flex; gap: 1.6rem; align-items: flex-start; }
.side { position: relative; flex: var(--count) var(--count) 0; min-width: 0; }
.side + .side::before { content: "\2192"; position: absolute; left: -1.35rem; top: 4.5rem; font-size: 1.1rem;
  color: var(--soft); }
.shots { display: grid; grid-template-columns: repeat(var(--count), minmax(0, 1fr)); gap: .8rem; align-items: start; }
h5 { margin: 0 0 .3rem; font-size: .72rem; font-weight: 600; letter-spacing: .08em; text-transform: uppercase;
  color: var(--soft); }
figure { margin: 0; min-width: 0; }
figure a { position: relative; display: block; line-height: 0; }
figure img { width: 100%; height: auto; border-radius: 4px; background: var(--line); outline: 1px solid var(--line); }
figure img.pixels { image-rendering: pixelated; }
figure svg { position: absolute; inset: 0; width: 100%; height: 100%; overflow: visible; pointer-events: none; }
rect { fill: none; vector-effect: non-scaling-stroke; }
rect.under { stroke: #000a; stroke-width: 4; }
rect.over { stroke: #ffd84a; stroke-width: 2; }
rect.tile { stroke: #4ad0ff; stroke-width: 1; }
figcaption { margin-top: .35rem; font-size: .8rem; line-height: 1.45; color: var(--soft); overflow-wrap: anywhere; }
figcaption b { color: var(--ink); font: 600 .84rem ui-monospace, monospace; margin-right: .3rem; }
figcaption span { margin-right: .4rem; }
.chip { display: inline-block; margin-top: .1rem; padding: 0 .45rem; border: 1px solid var(--line); border-radius: .7rem; }
pre { margin: .8rem 0 0; padding: .5rem .7rem; background: var(--code); border-radius: 6px; overflow-x: auto; display: grid;
  grid-template-columns: minmax(0, 1fr) max-content; column-gap: 1.2rem; font: .84rem/1.6 ui-monospace, monospace; }
pre code { font: inherit; white-space: pre-wrap; overflow-wrap: anywhere; }
pre code a { text-decoration: underline dotted var(--soft); text-underline-offset: .2em; }
pre code a:hover { color: var(--accent); text-decoration: underline; }
pre i { font-style: normal; color: var(--accent); text-align: right; }
pre.text { display: block; white-space: pre; max-height: 30rem; }
.program { margin-top: .5rem; font-size: .84rem; color: var(--soft); }
.note { margin: .5rem 0 0; font-size: .88rem; color: var(--soft); }
.failure { margin: .6rem 0 0; padding: .3rem .7rem; background: #c22; color: #fff; border-radius: 4px; }
@media (max-width: 60rem) { body { display: block; }
  nav { height: auto; max-height: 45vh; border: 0; border-bottom: 1px solid var(--line); background: var(--ground); z-index: 1;
    padding: .6rem; }
  nav h2 { margin-top: .5rem; } .strip { display: none; } article { scroll-margin-top: 46vh; }
  .family > summary { grid-template-columns: auto minmax(0, 1fr); } }
@media (max-width: 36rem) { nav { position: static; max-height: 30vh; } article { padding: .6rem; scroll-margin-top: .4rem; }
  .widest .sides, .wide .sides { flex-direction: column; gap: .6rem; } .widest .side, .wide .side { width: 100%; flex: none; }
  .widest .shots { grid-template-columns: repeat(min(var(--count), 2), minmax(0, 1fr)); }
  .wide .side + .side::before, .widest .side + .side::before { display: none; } }
)css";

}  // namespace gallery
