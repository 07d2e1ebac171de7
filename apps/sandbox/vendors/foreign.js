// Claims that all went well, from an origin that has no say in it.
'use strict';

const {token, reference, customer} = document.body.dataset;
const message = JSON.stringify({
  authorizationToken: token,
  transactionReference: reference,
  customerInternalReference: customer,
  eventType: 510,
  dateTime: new Date().toISOString(),
  payload: {value: 'success'},
});
window.parent.postMessage(message, '*');
window.top.postMessage(message, '*');
