// A vendor's client as the page around it sees one: it posts how it goes on. A person decides that
// with the buttons, or the page by itself when it was told what to play.
'use strict';

const {play, token, reference, customer, other} = document.body.dataset;
/** The same server as another site, which claims that all went well. */
const stranger = `${other}/web/v4/foreign?authorizationToken=${token}`;
const byId = (id) => document.getElementById(id);
const send = (message) => window.parent.postMessage(message, '*');

const report = (value, code, changes = {}) => {
  const payload = {value, ...(code ? {metainfo: {codeExternal: Number(code)}} : {})};
  send(JSON.stringify({
    authorizationToken: token,
    transactionReference: reference,
    customerInternalReference: customer,
    eventType: 510,
    dateTime: new Date().toISOString(),
    payload,
    ...changes,
  }));
};

const end = (value, code) => {
  for (const control of document.querySelectorAll('button, select')) control.disabled = true;
  byId('outcome').textContent = code ? `Failed with ${code}.` : 'Done.';
  report(value, code);
};

/** Resolves once a picture of the camera is there to be seen. */
const useCamera = async () => {
  const preview = byId('preview');
  preview.srcObject = await navigator.mediaDevices.getUserMedia({video: true});
  preview.hidden = false;
  const seen = new Promise((resolve) => preview.addEventListener('loadeddata', resolve, {once: true}));
  await preview.play();
  await seen;
};

const garbage = () => {
  for (const text of ['', 'nonsense', '{', '5', 'null', '[]', '{}', '"success"', 'x'.repeat(1 << 20)]) {
    send(text);
  }
  for (const value of [undefined, null, 5, true, {}, {payload: {value: 'success'}}, [], new Uint8Array(9)]) {
    send(value);
  }
  report('success', null, {payload: null});
  report('success', null, {payload: 'success'});
  report('success', null, {payload: {value: 7}});
  report('success', null, {payload: {value: 'Success'}});
  report('success', null, {eventType: '510'});
  report('success', null, {transactionReference: 7});
  report('success', null, {transactionReference: null});
};

/** Whether an earlier visit has left something; this one leaves it. */
const wasHereBefore = () => {
  const before = document.cookie.includes('visited') || window.localStorage.getItem('visited') !== null;
  document.cookie = 'visited=yes; Secure; SameSite=None; Max-Age=86400';
  window.localStorage.setItem('visited', 'yes');
  return before;
};

const plays = {
  success: () => end('success'),
  camera: () => useCamera().then(() => end('success'), () => end('error', 9820)),
  storage: () => (wasHereBefore() ? end('error', 9801) : end('success')),
  twice: () => {
    end('success');
    report('success');
    report('error', 9801);
    report('success');
  },
  garbage: () => {
    garbage();
    end('success');
  },
  'foreign-reference': () => {
    report('success', null, {transactionReference: '00000000-0000-4000-8000-000000000000'});
    report('success', null, {authorizationToken: 'another', transactionReference: 'another'});
  },
  'foreign-origin': () => {
    const frame = document.createElement('iframe');
    frame.src = stranger;
    frame.title = 'A stranger';
    document.body.append(frame);
  },
  leaves: () => window.location.assign(stranger),
  popup: () => window.open(stranger),
};

byId('finish').addEventListener('click', () => end('success'));
byId('fail').addEventListener('click', () => end('error', byId('code').value));
byId('camera').addEventListener('click', () => {
  useCamera().catch(() => {
    byId('outcome').textContent = 'There is no camera to be used.';
  });
});

if (play !== 'silent') {
  report('loaded');
  const failure = play.match(/^error-(.+)$/);
  if (failure) end('error', failure[1]);
  plays[play]?.();
}
