#include "platform/webengine/vendor_page.h"

#include "veltrane/base/dictionary.h"
#include "veltrane/base/json.h"

namespace veltrane::webengine {
namespace {

// The vendors' pages need 480 x 535 points; what does not fit scrolls.
constexpr std::string_view kHostPage = R"(<!doctype html>
<html><head><meta charset="utf-8"><title></title><style>
html, body { height: 100%; margin: 0; background: #fff; font-family: system-ui, sans-serif; }
#vendor { display: flow-root; min-width: 480px; min-height: 535px; height: 100%; }
iframe { display: block; width: 100%; height: 100%; border: 0; }
</style></head><body><div id="vendor"></div></body></html>)";

constexpr std::string_view kFrame = R"((function (page) {
  const frame = document.createElement('iframe');
  frame.allow = page.allow;
  frame.src = page.address;
  document.getElementById('vendor').append(frame);
}))";

// Only plain values cross: what a vendor's objects hold beside them cannot be cloned. A client
// whose room stays empty has not come, whatever `init` has returned. A message is shorter than what
// the ear lets through (ear.js), and one that cannot be written still says that the client has
// ended.
constexpr std::string_view kScript = R"((function (page) {
  const textOf = (event, data) => JSON.stringify({veltrane: page.mark, event, data: data === undefined ? null : data});
  const tell = (event, data) => {
    let text;
    try { text = textOf(event, data); } catch (error) {}
    if (!text || text.length > 60000) text = textOf('unreadable');
    window.postMessage(text, location.origin);
  };
  const end = (event, data) => {
    try { window.veltraneTearDown && window.veltraneTearDown(); } catch (error) {}
    tell(event, data);
  };
  const isStep = one => one && typeof one === 'object' &&
    (typeof one.id === 'string' || (one.sides && typeof one.sides === 'object'));
  const sayWhenSeen = () => {
    const room = document.getElementById('vendor');
    const seen = () => room.childElementCount > 0 && (tell('loaded'), true);
    if (!seen()) new MutationObserver((_, observer) => { if (seen()) observer.disconnect(); }).observe(room, {childList: true});
  };
  const begin = () => {
    try {
      const handle = Onfido.init({
        token: page.token,
        containerId: 'vendor',
        steps: page.steps,
        onComplete: data => {
          if (data && typeof data === 'object' && Object.values(data).some(isStep)) end('complete', data);
        },
        onError: error => {
          if (error && typeof error.type === 'string')
            end('error', {type: error.type, message: String(error.message).slice(0, 1000)});
        },
        onUserExit: reason => { if (typeof reason === 'string') end('exit', reason); },
      });
      window.veltraneTearDown = () => handle.tearDown();
      sayWhenSeen();
    } catch (error) {
      tell('broken');
    }
  };
  const script = document.createElement('script');
  script.src = page.address;
  script.onload = begin;
  script.onerror = () => tell('unreachable');
  document.head.append(script);
}))";

constexpr std::string_view kTearDown = R"((function () {
  try { window.veltraneTearDown && window.veltraneTearDown(); } catch (error) {}
  window.postMessage('veltrane ended', location.origin);
})())";

std::string call(std::string_view function, const Dictionary& argument) {
  return std::string(function) + '(' + JSON(argument).serialized().value_or("{}") + ')';
}

}  // namespace

std::string_view hostPageText() {
  return kHostPage;
}

std::string scriptFor(const FramedPage& page) {
  return call(kFrame, {{"address", page.address}, {"allow", page.allow}});
}

std::string scriptFor(const ScriptedPage& page) {
  const std::vector<JSON> steps(page.steps.begin(), page.steps.end());
  return call(kScript, {{"address", page.address},
                        {"token", page.token},
                        {"steps", JSON::array(steps)},
                        {"mark", page.mark}});
}

std::string_view tearDownScript() {
  return kTearDown;
}

}  // namespace veltrane::webengine
