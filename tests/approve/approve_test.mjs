// People answer on the page while flows wait: every way of answering reaches its end of the flow.
import assert from 'node:assert/strict';
import {createRequire} from 'node:module';
import {join} from 'node:path';
import {after, afterEach, before, beforeEach, test} from 'node:test';

import {Run, Sandbox} from './programs.mjs';

const require = createRequire(join(process.env.PACKAGES, 'package.json'));
const {chromium} = require('playwright-core');

const phone = {viewport: {width: 390, height: 844}, isMobile: true, hasTouch: true};
// Each test has a company of its own, so that what one leaves behind is nothing to the next.
let company;
let purpose;
let sandbox;
let browser;
let runs = [];
let contexts = [];

before(async () => {
  sandbox = await Sandbox.start();
  browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu'],
  });
});

after(async () => {
  await browser?.close();
  await sandbox?.stop();
});

let tests = 0;
beforeEach(() => {
  company = `company-${++tests}`;
  purpose = `Sign in to ${company}`;
});

// What a failed test leaves open must not be on the page of the next.
afterEach(async () => {
  await Promise.all(contexts.map((context) => context.close()));
  await Promise.all(runs.map((run) => run.quit()));
  runs = [];
  contexts = [];
});

function run(forCompany = company) {
  runs.push(new Run(sandbox, forCompany));
  return runs.at(-1);
}

async function openPage(options = phone) {
  const context = await browser.newContext({ignoreHTTPSErrors: true, ...options});
  context.setDefaultTimeout(20_000);
  contexts.push(context);
  const page = await context.newPage();
  await page.goto(sandbox.approve);
  return page;
}

const item = (page, text = purpose) =>
    page.getByRole('listitem').filter({has: page.getByRole('heading', {name: text, exact: true})});
const button = (page, word, text = purpose) => page.getByRole(
    'button', {name: `${word}: ${text}`, exact: true});
const nextRefresh = (page) =>
    page.waitForResponse((response) => response.url() === sandbox.approve);

async function says(page, text) {
  await page.getByRole('status').filter({hasText: text}).waitFor();
}

test('an approval ends the flow with its response', async () => {
  const page = await openPage();
  await page.getByText('Nothing waits for your approval.').waitFor();
  const flow = run();
  await item(page).waitFor();
  assert.equal(await page.locator('[aria-live]').last().textContent(), `New request: ${purpose}`);
  await button(page, 'Approve').tap();
  await says(page, `Approved: ${purpose}`);
  await item(page).waitFor({state: 'detached'});
  const {exit, response, error} = await flow.end();
  assert.equal(exit, 0);
  assert.equal(response.success, 1);
  assert.equal(response.method, 'push');
  assert.equal(error, null);
});

test('works without JavaScript', async () => {
  const page = await openPage({...phone, javaScriptEnabled: false});
  const flow = run();
  await button(page, 'Approve').waitFor();  // the page loads itself again
  await button(page, 'Approve').tap();
  await says(page, `Approved: ${purpose}`);
  assert.equal((await flow.end()).exit, 0);
});

test('a refresh leaves focus where it is, and a keyboard goes on to the next request', async () => {
  const page = await openPage({viewport: {width: 1280, height: 800}});
  const first = run('one');
  await item(page, 'Sign in to one').waitFor();
  run('two');
  await item(page, 'Sign in to two').waitFor();
  await button(page, 'Approve', 'Sign in to one').focus();
  run('three');
  await item(page, 'Sign in to three').waitFor();
  const focused = () => page.evaluate(() => document.activeElement.getAttribute('aria-label'));
  assert.equal(await focused(), 'Approve: Sign in to one');
  await page.keyboard.press('Enter');
  await says(page, 'Approved: Sign in to one');
  assert.equal(await focused(), 'Deny: Sign in to two');
  assert.equal((await first.end()).exit, 0);
});

test('a button that is held down survives a refresh', async () => {
  const page = await openPage({viewport: {width: 1280, height: 800}});
  const flow = run();
  await button(page, 'Approve').hover();
  await page.mouse.down();
  await nextRefresh(page);
  await nextRefresh(page);
  await page.mouse.up();
  await says(page, `Approved: ${purpose}`);
  assert.equal((await flow.end()).exit, 0);
});

test('the second half of a double press does not answer the next request', async () => {
  const page = await openPage({});
  await page.clock.install();
  await page.reload();
  run('first');
  await item(page, 'Sign in to first').waitFor();
  const second = run('second');
  await item(page, 'Sign in to second').waitFor();
  await page.clock.pauseAt(Date.now() + 3_600_000);
  await button(page, 'Deny', 'Sign in to first').press('Enter');
  await says(page, 'Denied: Sign in to first');
  await page.keyboard.press('Enter');
  await page.clock.runFor(600);
  await button(page, 'Approve', 'Sign in to second').press('Enter');
  await says(page, 'Approved: Sign in to second');
  assert.equal((await second.end()).exit, 0);
});

test('a second answer is told that it came late', async () => {
  const quick = await openPage();
  const slow = await openPage();
  const flow = run();
  await item(slow).waitFor();
  await slow.route(sandbox.approve, () => {});  // it learns nothing from now on
  await button(quick, 'Approve').tap();
  await says(quick, `Approved: ${purpose}`);
  const answer = slow.waitForResponse((response) => response.request().method() === 'POST');
  await button(slow, 'Deny').tap();
  assert.equal((await answer).status(), 409);
  await says(slow, 'This was answered before, and approved');
  assert.equal((await flow.end()).exit, 0);
});

test('another site can neither answer nor read the page', async () => {
  const own = await openPage();
  const flow = run();
  const form = item(own).locator('form');
  const action = await form.evaluate((element) => element.action);
  const token = await form.locator('[name=token]').inputValue();
  await own.goto('about:blank');

  const site = await contexts[0].newPage();
  await site.route('https://elsewhere.example/**', (route) => route.fulfill({
    contentType: 'text/html',
    body: `<form method="post" action="${action}"><input name="token" value="${token}">
           <button name="answer" value="approve">Win a prize</button></form>`,
  }));
  await site.goto('https://elsewhere.example/');
  const read = await site.evaluate((url) => fetch(url).then(() => 'read', () => 'refused'),
                                   sandbox.approve);
  assert.equal(read, 'refused');
  const refusal = site.waitForResponse(action);
  await site.getByRole('button').click();
  assert.equal((await refusal).status(), 403);

  await own.goto(sandbox.approve);
  await button(own, 'Deny').tap();
  await says(own, `Denied: ${purpose}`);
  const {exit, response, error} = await flow.end();
  assert.equal(exit, 1);
  assert.equal(response, null);
  assert.equal(error.code, 'approvalDenied');
});

test('fits small screens, and everything can be hit with a thumb', async () => {
  const long = 'A-company-with-a-name-that-goes-on-and-on-and-has-no-blank-anywhere';
  const page = await openPage({...phone, viewport: {width: 320, height: 568}});
  run(long);
  await item(page, `Sign in to ${long}`).waitFor();
  const width = await page.evaluate(() => document.documentElement.scrollWidth);
  assert.ok(width <= 320, `scrolls sideways: ${width}`);
  for (const found of await page.getByRole('button').all()) {
    const box = await found.boundingBox();
    assert.ok(box.width >= 44 && box.height >= 44, JSON.stringify(box));
  }
});

test('says when the sandbox has gone, and goes on when it is back', async () => {
  const page = await openPage();
  await page.route(sandbox.approve, (route) => route.abort());
  await says(page, 'The sandbox does not answer.');
  await page.unroute(sandbox.approve);
  await nextRefresh(page);
  await page.getByText('The sandbox does not answer.').waitFor({state: 'hidden'});
});
