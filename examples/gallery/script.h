// What the page does by itself.
#pragma once

namespace gallery {

inline constexpr char script[] = R"js(
const all = (selector, root = document) => [...root.querySelectorAll(selector)];
const families = all('details.family'), articles = all('article'), filter = document.getElementById('filter');
const fold = document.getElementById('fold');
const linkOf = new Map(all('nav li a').map(link => [link.hash.slice(1), link]));

// The families that hold something found are unfolded; without a filter all are folded.
filter.addEventListener('input', () => {
  const words = filter.value.toLowerCase().split(/\s+/).filter(word => word);
  for (const article of articles) {
    const names = article.dataset.names.toLowerCase();
    article.hidden = !words.every(word => names.includes(word));
    linkOf.get(article.id).parentNode.hidden = article.hidden;
  }
  for (const group of [...families, ...all('nav details')]) {
    const found = all('article, li', group).some(item => !item.hidden);
    group.hidden = !found;
    group.open = words.length > 0 && found;
  }
  for (const title of all('nav h2, main > h2')) {
    let found = false;
    for (let item = title.nextElementSibling; item && item.tagName !== 'H2'; item = item.nextElementSibling)
      found ||= !item.hidden;
    title.hidden = !found;
  }
  // What is found stands at the top.
  document.querySelector('header').hidden = words.length > 0;
  document.getElementById('none').hidden = articles.some(article => !article.hidden);
});

fold.addEventListener('click', () => {
  const unfold = families.some(family => !family.open);
  for (const family of families) family.open = unfold;
  fold.textContent = unfold ? 'fold all' : 'unfold all';
});

// An entry that is gone to lies in a family that may be folded.
const reveal = () => {
  const target = document.getElementById(decodeURIComponent(location.hash.slice(1)));
  const family = target && target.closest('details.family');
  if (!family) return;
  family.open = true;
  target.scrollIntoView();
  mark(target.id);
};

const mark = id => {
  for (const link of linkOf.values()) link.removeAttribute('aria-current');
  const link = linkOf.get(id);
  if (!link) return;
  link.setAttribute('aria-current', 'true');
  link.closest('details').open = true;
  const nav = link.closest('nav'), place = link.getBoundingClientRect();
  if (getComputedStyle(nav).position === 'sticky' && (place.top < 0 || place.bottom > innerHeight))
    nav.scrollTop += place.top - innerHeight / 2;
};

// The entry that crosses the upper part of the window is the current one.
const observer = new IntersectionObserver(entries => {
  const seen = entries.filter(entry => entry.isIntersecting);
  if (seen.length) mark(seen[0].target.id);
}, { rootMargin: '-10% 0px -75% 0px' });
for (const article of articles) observer.observe(article);
addEventListener('hashchange', reveal);
reveal();

// Without the clipboard, as on pages that are no secure ones, the text is selected and copied as by hand.
const copyText = async block => {
  try {
    await navigator.clipboard.writeText(block.textContent);
  } catch {
    block.closest('details').open = true;
    getSelection().selectAllChildren(block);
    document.execCommand('copy');
  }
};
for (const button of all('button.copy'))
  button.addEventListener('click', async event => {
    event.preventDefault();
    await copyText(button.closest('details').querySelector('pre'));
    button.textContent = 'copied';
    setTimeout(() => { button.textContent = 'copy'; }, 1500);
  });
)js";

}  // namespace gallery
