// Registrations and assertions of the client and this machine's authenticator, verified by two
// libraries that servers use, which must also refuse each of them once something in it has changed.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {mkdtempSync, rmSync} from 'node:fs';
import {createRequire} from 'node:module';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {after, test} from 'node:test';

const require = createRequire(join(process.env.PACKAGES, 'package.json'));
const simple = require('@simplewebauthn/server');
const {Fido2Lib} = require('fido2-lib');

const folder = mkdtempSync(join(tmpdir(), 'veltrane-verifiers-'));
after(() => rmSync(folder, {recursive: true}));
const ceremonies = JSON.parse(
    execFileSync(process.env.PASSKEY_CEREMONIES, [join(folder, 'passkeys.db')], {encoding: 'utf8'}));

const makeChallenge = 'bWFrZSBhIGNyZWRlbnRpYWwgbm93';
const useChallenge = 'dXNlIGEgY3JlZGVudGlhbCBub3c';
const origin = 'https://www.login.example.com:8443';
const rpId = 'login.example.com';

const bytes = (text) => Buffer.from(text, 'base64url');
const arrayBuffer = (text) => new Uint8Array(bytes(text)).buffer;

// What each library is asked, and answers when it is content: the credential, and its counter.

const libraries = {
  '@simplewebauthn/server': {
    algorithms: [-7, -8],
    async register({registration, userVerification}) {
      const {verified, registrationInfo} = await simple.verifyRegistrationResponse({
        response: registration,
        expectedChallenge: makeChallenge,
        expectedOrigin: origin,
        expectedRPID: rpId,
        requireUserVerification: userVerification === 'required',
        supportedAlgorithmIDs: [-7, -8],
      });
      assert.ok(verified, 'not verified');
      return {...registrationInfo.credential, fmt: registrationInfo.fmt};
    },
    async signIn(assertion, credential, userVerification) {
      const {verified, authenticationInfo} = await simple.verifyAuthenticationResponse({
        response: assertion,
        expectedChallenge: useChallenge,
        expectedOrigin: origin,
        expectedRPID: rpId,
        credential,
        requireUserVerification: userVerification === 'required',
      });
      assert.ok(verified, 'not verified');
      return authenticationInfo.newCounter;
    },
  },
  'fido2-lib': {
    algorithms: [-7],  // it knows no EdDSA
    async register({registration, userVerification}) {
      const result = await new Fido2Lib({rpId}).attestationResult(
          {...registration, rawId: arrayBuffer(registration.rawId)}, {
            rpId,
            challenge: makeChallenge,
            origin,
            factor: userVerification === 'required' ? 'first' : 'either',
          });
      const data = result.authnrData;
      return {
        publicKey: data.get('credentialPublicKeyPem'),
        counter: data.get('counter'),
        fmt: data.get('fmt'),
      };
    },
    async signIn(assertion, credential, userVerification) {
      const result = await new Fido2Lib({rpId}).assertionResult(
          {
            ...assertion,
            rawId: arrayBuffer(assertion.rawId),
            response: {
              ...assertion.response,
              authenticatorData: arrayBuffer(assertion.response.authenticatorData),
            },
          },
          {
            rpId,
            challenge: useChallenge,
            origin,
            factor: userVerification === 'required' ? 'first' : 'either',
            publicKey: credential.publicKey,
            prevCounter: credential.counter,
            userHandle: assertion.response.userHandle,
          });
      return result.authnrData.get('counter');
    },
  },
};

// Changes to a response, by what they change.

const withResponse = (response, changes) => ({...response, response: {...response.response, ...changes}});
const withClientData = (response, change) => {
  const data = JSON.parse(bytes(response.response.clientDataJSON));
  change(data);
  return withResponse(
      response, {clientDataJSON: Buffer.from(JSON.stringify(data)).toString('base64url')});
};
const flipped = (text, index) => {
  const changed = bytes(text);
  changed[index < 0 ? changed.length + index : index] ^= 1;
  return changed.toString('base64url');
};
// Each change with what a verifier's complaint must be about.
const noSignature = /not verified|signature/;
const noRelyingParty = /rp ?id ?hash/i;
const clientDataChanges = [
  [(data) => data.challenge = 'AAAAAAAAAAAAAAAAAAAA', /challenge/],
  [(data) => data.origin = 'https://login.example.net', /origin/],
  [(data) => data.type = 'webauthn.other', /type/],
];
const assertionChanges = [
  [(answer) => withResponse(answer, {authenticatorData: flipped(answer.response.authenticatorData, 0)}),
   noRelyingParty],
  [(answer) => withResponse(answer, {authenticatorData: flipped(answer.response.authenticatorData, -4)}),
   noSignature],
  [(answer) => withResponse(answer, {signature: flipped(answer.response.signature, -1)}), noSignature],
  [(answer) => withClientData(answer, (data) => data.more = true), noSignature],
];

// The attestation object with one bit changed at `offset` from the start of its authenticator data.
function withAuthData(registration, offset) {
  const object = bytes(registration.response.attestationObject);
  const start = object.indexOf('authData') + 'authData'.length + 2;
  object[start + offset] ^= 1;
  return withResponse(registration, {attestationObject: object.toString('base64url')});
}
function withAttestationSignature(registration) {
  const object = bytes(registration.response.attestationObject);
  object[object.indexOf('authData') - 2] ^= 1;
  return withResponse(registration, {attestationObject: object.toString('base64url')});
}

for (const [name, library] of Object.entries(libraries)) {
  for (const ceremony of ceremonies) {
    const {algorithm, attestation, userVerification, registration, assertions} = ceremony;
    if (!library.algorithms.includes(algorithm)) continue;
    const title = `${name}: algorithm ${algorithm}, ${attestation}, verification ${userVerification}`;

    test(`${title}: accepted`, async () => {
      const credential = await library.register(ceremony);
      assert.equal(credential.fmt, attestation === 'none' ? 'none' : 'packed');
      for (const assertion of assertions) {
        const counter = await library.signIn(assertion, credential, userVerification);
        assert.ok(counter > credential.counter);
        credential.counter = counter;
      }
      assert.equal(credential.counter, 3);
    });

    test(`${title}: a changed registration is refused`, async () => {
      const refused = (changed, why) =>
          assert.rejects(library.register({...ceremony, registration: changed}), why);
      for (const [change, why] of clientDataChanges) {
        await refused(withClientData(registration, change), why);
      }
      await refused(withAuthData(registration, 0), noRelyingParty);
      if (attestation === 'none') return;
      await refused(withAttestationSignature(registration), noSignature);
      await refused(withAuthData(registration, 37), noSignature);
      await refused(withClientData(registration, (data) => data.more = true), noSignature);
    });

    test(`${title}: a changed or replayed assertion is refused`, async () => {
      const credential = await library.register(ceremony);
      const refused = (changed, why) =>
          assert.rejects(library.signIn(changed, credential, userVerification), why);
      for (const [change, why] of clientDataChanges) {
        await refused(withClientData(assertions[0], change), why);
      }
      for (const [change, why] of assertionChanges) await refused(change(assertions[0]), why);
      credential.counter = await library.signIn(assertions[1], credential, userVerification);
      await refused(assertions[0], /counter/i);
      await refused(assertions[1], /counter/i);
    });
  }
}

test('verification is not claimed where there was none', async () => {
  for (const {registration, userVerification, ...rest} of ceremonies) {
    if (userVerification === 'required') continue;
    const asked = {...rest, registration, userVerification: 'required'};
    await assert.rejects(libraries['@simplewebauthn/server'].register(asked), /[Uu]ser.*verif/);
  }
});
