// Keeps the list up to date: fetches the page and takes over what is new in it. What is there stays
// the same element, so that focus and a pressed button survive.
'use strict';

const every = 1000;
// The second half of a double tap must not answer the request that has just moved under it.
const settling = 500;
const list = document.getElementById('challenges');
const nothing = document.getElementById('nothing');
const message = document.getElementById('message');
const announcement = document.getElementById('announcement');
let answering = 0;
let unreachable = false;
let movedAt = -settling;

function remove(item) {
  movedAt = performance.now();
  item.remove();
}

function say(text, isProblem) {
  if (message.textContent !== text) message.textContent = text;
  message.className = isProblem ? 'problem' : '';
}

function isInUse(item) {
  return item.contains(document.activeElement) || item.matches(':active') ||
      item.dataset.answering === 'yes';
}

// One that has ended while somebody is at its buttons stays until they let go of it.
function retire(item) {
  if (!isInUse(item)) {
    remove(item);
  } else if (!item.dataset.ended) {
    item.dataset.ended = 'yes';
    item.querySelector('.facts').textContent = 'No longer open';
    for (const button of item.querySelectorAll('button')) {
      button.setAttribute('aria-disabled', 'true');
    }
  }
}

function takeOver(page) {
  const fresh = new Map();
  for (const item of page.querySelectorAll('#challenges > li')) fresh.set(item.id, item);
  for (const item of [...list.children]) {
    const same = fresh.get(item.id);
    fresh.delete(item.id);
    if (!same) {
      retire(item);
    } else {
      const age = item.querySelector('.age');
      const now = same.querySelector('.age').textContent;
      if (age.textContent !== now) age.textContent = now;
    }
  }
  const purposes = [];
  for (const item of fresh.values()) {
    list.append(document.adoptNode(item));
    purposes.push(item.querySelector('h2').textContent);
  }
  if (purposes.length > 0) announcement.textContent = 'New request: ' + purposes.join('; ');
  nothing.hidden = list.children.length > 0;
}

function parsed(text) {
  return new DOMParser().parseFromString(text, 'text/html');
}

async function refresh() {
  try {
    const response = await fetch('/approve', {cache: 'no-store'});
    if (!response.ok) throw new Error(response.statusText);
    const page = parsed(await response.text());
    // Somebody's answer is on its way: this page may be older than it.
    if (answering > 0) return;
    if (unreachable) say('', false);
    unreachable = false;
    takeOver(page);
  } catch {
    if (!unreachable) say('The sandbox does not answer. This page keeps trying.', true);
    unreachable = true;
  }
}

async function keepRefreshing() {
  await refresh();
  setTimeout(keepRefreshing, every);
}

// Where the focus was, so that a keyboard goes on from there: the next request, or the heading.
function moveOn(item) {
  const next = item.nextElementSibling || item.previousElementSibling;
  const hadFocus = item.contains(document.activeElement);
  remove(item);
  if (!hadFocus) return;
  const target = next ? next.querySelector('button') : document.querySelector('h1');
  target.focus({preventScroll: true});
}

async function answer(form, button) {
  const item = form.closest('li');
  if (item.dataset.answering || item.dataset.ended) return;
  item.dataset.answering = 'yes';
  answering += 1;
  const body = new URLSearchParams(new FormData(form));
  body.set(button.name, button.value);
  try {
    const response = await fetch(form.action, {method: 'POST', body});
    const page = parsed(await response.text());
    const text = page.getElementById('message').textContent;
    delete item.dataset.answering;
    unreachable = false;
    say(text, !response.ok);
    moveOn(item);
    if (page.getElementById('challenges')) takeOver(page);
  } catch {
    delete item.dataset.answering;
    say('Your answer did not reach the sandbox. Try again.', true);
  } finally {
    answering -= 1;
  }
}

list.addEventListener('submit', (event) => {
  event.preventDefault();
  const settled = performance.now() - movedAt >= settling;
  if (event.submitter && settled) answer(event.target, event.submitter);
});
list.addEventListener('focusout', () => setTimeout(() => {
  for (const item of [...list.children]) {
    if (item.dataset.ended) retire(item);
  }
  nothing.hidden = list.children.length > 0;
}, 0));
setTimeout(keepRefreshing, every);
