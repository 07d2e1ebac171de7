// A capture flow as the page around it sees one: steps in an element of that page, and three ways to
// end. A person plays the vendor, or the token says what it plays by itself.
'use strict';

(() => {
  const kSteps = ['welcome', 'document', 'face'];
  const kErrors = ['invalid_token', 'expired_token', 'permissions_unavailable', 'no_camera', 'exception', 'workflow_error'];
  const kAnswers = {
    passport: {type: 'passport', sides: {front: {id: 'document-front'}}},
    drivingLicence: {
      type: 'driving_licence',
      sides: {front: {id: 'document-front'}, back: {id: 'document-back'}},
    },
    face: {type: 'standard', id: 'face-photo'},
  };

  const kTitles = {welcome: 'Verify your identity', document: 'Your document', face: 'Your face'};
  const kStyle = `
    .onfido-stand-in { padding: 1.5rem 1.25rem; font: 1rem/1.5 system-ui, sans-serif; }
    .onfido-stand-in h1 { margin: 0; font-size: 1.5rem; }
    .onfido-stand-in button, .onfido-stand-in select {
      min-height: 2.75rem; max-width: 100%; margin: 0 0.5rem 0.5rem 0; padding: 0.25rem 1rem; font: inherit;
    }
    .onfido-stand-in label { display: block; }
    .onfido-stand-in select { display: block; }`;

  const make = (name, text, ...children) => {
    const element = document.createElement(name);
    if (text) element.textContent = text;
    element.append(...children);
    return element;
  };

  const button = (id, text, act) => {
    const element = make('button', text);
    element.type = 'button';
    element.id = `onfido-${id}`;
    element.addEventListener('click', act);
    return element;
  };

  const nameOf = (step) => (typeof step === 'string' ? step : step?.type);

  const checkedSteps = (steps = kSteps) => {
    if (!Array.isArray(steps) || steps.length === 0) throw new Error('steps must be a list');
    const names = steps.map(nameOf);
    const unknown = names.find((name) => !kSteps.includes(name));
    if (unknown !== undefined || names.includes(undefined)) throw new Error(`unknown step ${unknown}`);
    return names;
  };

  const useCamera = async () => {
    const stream = await navigator.mediaDevices.getUserMedia({video: true});
    for (const track of stream.getTracks()) track.stop();
  };

  class Flow {
    constructor(options) {
      this.options = options;
      this.steps = checkedSteps(options.steps);
      this.container = document.getElementById(options.containerId ?? 'onfido-mount');
      if (!this.container) throw new Error('there is no element to show the flow in');
      this.data = {};
      this.isOver = false;
    }

    /** Calls the page later, as something that has to ask a server would, and not after the end. */
    call(name, value) {
      setTimeout(() => {
        if (!this.isOver) this.options[name]?.(value);
      }, 0);
    }

    fail(type) {
      this.call('onError', {type, message: `A stand-in's ${type}.`});
    }

    take(step, document) {
      if (step === 'document') this.data.document = kAnswers[document];
      if (step === 'face') this.data.face = kAnswers.face;
    }

    complete(document = 'drivingLicence') {
      for (const step of this.steps) this.take(step, document);
      this.call('onComplete', this.data);
    }

    next(step, document) {
      this.take(step, document);
      const at = this.steps.indexOf(step) + 1;
      if (at < this.steps.length) return this.show(this.steps[at]);
      this.fill(make('p', 'Done.'));
      return this.call('onComplete', this.data);
    }

    fill(...content) {
      const room = make('div', '', make('style', kStyle), ...content);
      room.className = 'onfido-stand-in';
      this.container.replaceChildren(room);
    }

    show(step) {
      const controls = {
        welcome: [button('start', 'Start', () => this.next(step))],
        document: [
          button('passport', 'Photograph a passport', () => this.next(step, 'passport')),
          button('licence', 'Photograph a driving licence', () => this.next(step, 'drivingLicence')),
        ],
        face: [button('face', 'Photograph a face', () => this.next(step))],
      }[step];
      this.fill(
          make('h1', kTitles[step]),
          make('p', 'A stand-in: nothing is photographed and nothing is sent.'),
          make('p', '', ...controls), this.failures(),
          make('p', '',
               button('exit', 'Close', () => this.call('onUserExit', 'user_exit')),
               button('refuse', 'Refuse consent', () => this.call('onUserExit', 'user_consent_denied'))));
    }

    failures() {
      const choice = make('select', '', ...kErrors.map((type) => make('option', type)));
      choice.id = 'onfido-error';
      const caption = make('label', 'What goes wrong ');
      caption.append(choice);
      return make('p', '', caption, button('fail', 'Fail', () => this.fail(choice.value)));
    }

    garbage() {
      for (const value of [undefined, null, 5, 'done', [], {}, {document: 7, face: 'me'}, {document: {sides: 5}}, {face: {id: 7}}]) {
        for (const name of ['onComplete', 'onError', 'onUserExit']) this.call(name, value);
      }
      this.complete();
    }

    play(token) {
      const failure = token.match(/^onfido-error-(.+)$/);
      if (failure) return this.fail(failure[1]);
      const plays = {
        'onfido-success': () => this.complete(),
        'onfido-passport': () => this.complete('passport'),
        'onfido-exit': () => this.call('onUserExit', 'user_exit'),
        'onfido-refuse': () => this.call('onUserExit', 'user_consent_denied'),
        'onfido-camera': () => useCamera().then(() => this.complete(), () => this.fail('permissions_unavailable')),
        'onfido-twice': () => {
          this.complete();
          this.complete();
          this.fail('exception');
          this.call('onUserExit', 'user_exit');
        },
        'onfido-garbage': () => this.garbage(),
        'onfido-silent': () => {},
      };
      return (plays[token] ?? (() => this.show(this.steps[0])))();
    }

    tearDown() {
      this.isOver = true;
      this.container.replaceChildren();
      if (this.options.token !== 'onfido-late') return;
      setTimeout(() => this.options.onComplete?.({face: kAnswers.face}), 1000);
    }
  }

  const init = (options = {}) => {
    const {token} = options;
    if (token === 'onfido-throws') throw new Error('out of order');
    const flow = new Flow(options);
    if (typeof token === 'string' && token !== '') {
      flow.play(token);
    } else {
      flow.fail('invalid_token');
    }
    return {tearDown: () => flow.tearDown()};
  };

  window.Onfido = {init};
})();
