// What a page around a vendor's client hears from it: by a person's hand, by itself, and in trouble.
import assert from 'node:assert/strict';
import {createRequire} from 'node:module';
import {join} from 'node:path';
import {after, afterEach, before, beforeEach, test} from 'node:test';

import {Sandbox} from '../approve/programs.mjs';

const require = createRequire(join(process.env.PACKAGES, 'package.json'));
const {chromium} = require('playwright-core');

const host = 'https://host.example/';
let sandbox;
let origin;
let browser;
let context;
let page;

before(async () => {
  sandbox = await Sandbox.start();
  origin = new URL(sandbox.baseURL).origin;
  browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
    args: [
      '--no-sandbox', '--disable-gpu', '--use-fake-device-for-media-stream',
      // A vendor is on the internet; its stand-in is on this machine, which pages may not reach.
      '--disable-features=LocalNetworkAccessChecks',
    ],
  });
});

after(async () => {
  await browser?.close();
  await sandbox?.stop();
});

beforeEach(async () => {
  context = await browser.newContext({ignoreHTTPSErrors: true});
  context.setDefaultTimeout(20_000);
  page = await context.newPage();
});

afterEach(() => context.close());

/** Shows a page of the host's own. */
async function open(html) {
  await page.route(host, (route) => route.fulfill({contentType: 'text/html', body: html}));
  await page.goto(host);
}

/** Waits until the page has heard so much; all of it. */
async function heard(count) {
  await page.waitForFunction((least) => window.heard.length >= least, count);
  return page.evaluate(() => window.heard);
}

async function initiate(apiToken) {
  const account = Buffer.from(`${apiToken}:sandbox-secret`).toString('base64');
  const answer = await context.request.post(`${origin}/api/v4/initiate`, {
    headers: {Authorization: `Basic ${account}`, Accept: 'application/json', 'User-Agent': 'Acme Tests'},
    data: {customerInternalReference: 'visit-1', userReference: 'user-1'},
  });
  assert.equal(answer.status(), 200, await answer.text());
  return answer.json();
}

/** The vendor's client in a frame of the host's, as it is meant to be. */
async function openClient(apiToken) {
  const transaction = await initiate(apiToken);
  await open(`<script>
      window.heard = [];
      addEventListener('message', ({data, origin}) => {
        let message;
        try { message = JSON.parse(data); } catch { message = null; }
        heard.push({message, origin});
      });
    </script>
    <iframe allow="camera" width="480" height="535" src="${transaction.redirectUrl}"></iframe>`);
  return {transaction, client: page.frameLocator('iframe')};
}

const valueOf = ({message}) => message?.payload?.value;
const codeOf = ({message}) => message.payload.metainfo?.codeExternal;

test('a person finishes, and each message says whose it is', async () => {
  const {transaction, client} = await openClient('sandbox-token');
  await heard(1);
  await client.getByRole('button', {name: 'Finish'}).click();
  const all = await heard(2);
  assert.deepEqual(all.map(valueOf), ['loaded', 'success']);
  for (const {message, origin: from} of all) {
    assert.equal(from, origin);
    assert.equal(message.transactionReference, transaction.transactionReference);
    assert.equal(message.authorizationToken, new URL(transaction.redirectUrl).searchParams.get('authorizationToken'));
    assert.equal(message.customerInternalReference, 'visit-1');
    assert.equal(message.eventType, 510);
    assert.ok(Date.parse(message.dateTime));
  }
  assert.ok(await client.getByRole('button', {name: 'Finish'}).isDisabled());
});

test('a person lets it fail with a code', async () => {
  const {client} = await openClient('sandbox-token');
  await client.getByLabel('What goes wrong').selectOption('9835');
  await client.getByRole('button', {name: 'Fail'}).click();
  const all = await heard(2);
  assert.deepEqual(all.map(valueOf), ['loaded', 'error']);
  assert.equal(codeOf(all[1]), 9835);
});

test('it plays by itself what its token names', async () => {
  for (const [token, values, code] of [
    ['page-success', ['loaded', 'success']],
    ['page-error-9210', ['loaded', 'error'], 9210],
    ['page-twice', ['loaded', 'success', 'success', 'error', 'success']],
    ['page-foreign-reference', ['loaded', 'success', 'success']],
  ]) {
    const {transaction} = await openClient(token);
    const all = await heard(values.length);
    assert.deepEqual(all.map(valueOf), values, token);
    assert.equal(codeOf(all[1]), code, token);
    const isForeign = token === 'page-foreign-reference';
    for (const {message} of all.slice(1)) {
      assert.equal(message.transactionReference === transaction.transactionReference, !isForeign, token);
    }
  }
});

test('garbage comes before its success', async () => {
  await openClient('page-garbage');
  await page.waitForFunction(() => window.heard.filter(
      ({message}) => message?.eventType === 510 && message.transactionReference?.length === 36 &&
          message.payload?.value === 'success').length === 1);
  const all = await heard(20);
  assert.ok(all.filter(({message}) => message === null).length > 5);
});

test('a stranger\'s success comes from another origin', async () => {
  const {transaction} = await openClient('page-foreign-origin');
  const all = await heard(2);
  assert.equal(valueOf(all[1]), 'success');
  assert.equal(all[1].message.transactionReference, transaction.transactionReference);
  assert.equal(all[1].origin, origin.replace('localhost', '127.0.0.1'));
});

test('it uses the camera that it is allowed, and tells when it is not', async () => {
  await openClient('page-camera');
  assert.equal(codeOf((await heard(2))[1]), 9820);
  await context.grantPermissions(['camera']);
  await openClient('page-camera');
  assert.equal(valueOf((await heard(2))[1]), 'success');
});

test('it finds what an earlier visit has left', async () => {
  await openClient('page-storage');
  assert.equal(valueOf((await heard(2))[1]), 'success');
  await openClient('page-storage');
  assert.equal(codeOf((await heard(2))[1]), 9801);
});

test('it leaves for another host, and opens a window of one', async () => {
  const elsewhere = origin.replace('localhost', '127.0.0.1');
  await openClient('page-leaves');
  assert.equal((await heard(2))[1].origin, elsewhere);
  const opened = context.waitForEvent('page');
  await openClient('page-popup');
  await (await opened).waitForURL(`${elsewhere}/web/v4/foreign?**`);
});

/** The capture flow in an element of the host's page; `heard` has [name, value] of each call. */
async function openFlow(token, options = '') {
  await open(`<div id="place"></div>
    <script src="${origin}/onfido/loader.js"></script>
    <script>
      window.heard = [];
      const call = (name) => (value) => heard.push([name, value]);
      window.handle = Onfido.init({
        token: ${JSON.stringify(token)}, containerId: 'place', steps: ['welcome', 'document', 'face'],
        onComplete: call('complete'), onError: call('error'), onUserExit: call('exit'), ${options}
      });
    </script>`);
}

test('a person goes through the steps of a capture flow', async () => {
  await openFlow('any-token');
  await page.getByRole('button', {name: 'Start'}).click();
  await page.getByRole('button', {name: 'Photograph a passport'}).click();
  await page.getByRole('button', {name: 'Photograph a face'}).click();
  assert.deepEqual(await heard(1), [[
    'complete',
    {
      document: {type: 'passport', sides: {front: {id: 'document-front'}}},
      face: {type: 'standard', id: 'face-photo'},
    },
  ]]);
});

test('a person closes a capture flow, refuses consent, lets it fail', async () => {
  await openFlow('any-token');
  await page.getByRole('button', {name: 'Close'}).click();
  await page.getByRole('button', {name: 'Refuse consent'}).click();
  await page.getByLabel('What goes wrong').selectOption('no_camera');
  await page.getByRole('button', {name: 'Fail'}).click();
  const all = await heard(3);
  assert.deepEqual(all.slice(0, 2), [['exit', 'user_exit'], ['exit', 'user_consent_denied']]);
  assert.equal(all[2][1].type, 'no_camera');
});

test('a capture flow plays by itself what its token names', async () => {
  for (const [token, names] of [
    ['onfido-success', ['complete']],
    ['onfido-passport', ['complete']],
    ['onfido-error-expired_token', ['error']],
    ['', ['error']],
    ['onfido-exit', ['exit']],
    ['onfido-refuse', ['exit']],
    ['onfido-twice', ['complete', 'complete', 'error', 'exit']],
  ]) {
    await openFlow(token);
    const all = await heard(names.length);
    assert.deepEqual(all.map(([name]) => name), names, token);
  }
  await openFlow('onfido-garbage');
  const all = await heard(28);
  assert.equal(all.at(-1)[0], 'complete');
  assert.equal(all.at(-1)[1].document.sides.back.id, 'document-back');
});

test('a capture flow uses the camera that it is allowed', async () => {
  await openFlow('onfido-camera');
  assert.equal((await heard(1))[0][1].type, 'permissions_unavailable');
  await context.grantPermissions(['camera']);
  await openFlow('onfido-camera');
  assert.equal((await heard(1))[0][0], 'complete');
});

test('nothing is called after a capture flow was torn down, unless it is late', async () => {
  await openFlow('onfido-success');
  await heard(1);
  await openFlow('any-token');
  await page.evaluate(() => {
    document.getElementById('onfido-exit').click();
    window.handle.tearDown();
  });
  assert.equal(await page.locator('#place').innerHTML(), '');
  await page.evaluate(() => new Promise((resolve) => setTimeout(resolve, 0)));
  assert.deepEqual(await heard(0), []);
  await openFlow('onfido-late');
  await page.evaluate(() => window.handle.tearDown());
  assert.equal((await heard(1))[0][0], 'complete');
});

test('a capture flow takes no steps and no place that are not there', async () => {
  await openFlow('any-token');
  const thrown = (options) => page.evaluate((given) => {
    try {
      Onfido.init(given);
      return null;
    } catch (error) {
      return error.message;
    }
  }, options);
  assert.match(await thrown({token: 't', containerId: 'nowhere'}), /no element/);
  assert.match(await thrown({token: 't', containerId: 'place', steps: ['welcome', 'video']}), /unknown step video/);
  assert.match(await thrown({token: 't', containerId: 'place', steps: []}), /steps/);
  assert.match(await thrown({token: 'onfido-throws', containerId: 'place'}), /out of order/);
  assert.equal(await thrown({token: 't', containerId: 'place', steps: [{type: 'face'}]}), null);
  assert.ok(await page.getByRole('button', {name: 'Photograph a face'}).isVisible());
});
