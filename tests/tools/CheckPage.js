// Looks at an exported page in a browser: that texts of the file are texts, that it needs nothing
// else and has what those need who do not see or point, and that the search finds and opens. It
// leaves what it found wrong in the document, for a caller that prints that.
addEventListener('load', async () => {
  const problems = [];
  const claim = (holds, what) => { if (!holds) problems.push(what); };
  const all = selector => [...document.querySelectorAll(selector)];
  const isVisible = element => element.getClientRects().length !== 0;
  const time = ms => new Promise(resolve => setTimeout(resolve, ms));

  claim(document.title === wanted.name && all('h1').length === 1 &&
        document.querySelector('h1').textContent === wanted.name, 'the name');
  claim(all('script').length === 2 && all('style').length === 1 &&
        all('img, iframe, object, embed, link, base, form').length === 0, 'elements of the file');
  claim(all('*').every(element => [...element.attributes].every(attribute =>
    !attribute.name.startsWith('on') &&
    (!['src', 'href'].includes(attribute.name) || attribute.value.startsWith('#')))), 'attributes');
  claim(new Set(all('[id]').map(element => element.id)).size === all('[id]').length, 'doubled ids');
  claim(all('input').every(input => input.labels.length === 1), 'fields without a label');
  claim(all('svg').every(svg => svg.ariaLabel || svg.ariaHidden === 'true'), 'unnamed pictures');
  claim(all('th').every(cell => cell.scope), 'headings without a scope');
  for (const text of wanted.texts)
    claim(document.querySelector('main').textContent.includes(text), 'no text ' + text);

  const input = document.getElementById('search');
  const press = key => input.dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true}));
  const closed = all('details').filter(details => !details.open);
  input.value = wanted.search;
  input.dispatchEvent(new Event('input'));
  await time(300);
  claim(document.getElementById('found').textContent === wanted.found,
        'found ' + document.getElementById('found').textContent);
  claim(all('.match').length !== 0 && all('.match').every(isVisible), 'matches that are not seen');
  claim(!all('.item:not(.match, .path, .match .item)').some(isVisible), 'others that are seen');
  press('Enter');
  claim(all('.current').length === 1, 'no current match');
  press('Escape');
  claim(all('.match').length === 0 && !closed.some(details => details.open), 'not closed again');
  for (const link of all('a[href]')) {
    link.click();
    claim(isVisible(document.querySelector(link.hash)), 'nothing behind ' + link.hash);
  }
  document.body.dataset.outcome = problems.join(', ') || 'fine';
});
