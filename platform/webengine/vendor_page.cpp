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

// Only plain values cross: what a vendor's objects hold beside them cannot be cloned.
constexpr std::string_view kScript = R"((function (page) {
  const tell = (event, data) => window.postMessage(
    JSON.stringify({veltrane: page.mark, event: event, data: data === undefined ? null : data}), location.origin);
  const end = (event, data) => {
    try { window.veltraneTearDown && window.veltraneTearDown(); } catch (error) {}
    tell(event, data);
  };
  const begin = () => {
    try {
      const handle = Onfido.init({
        token: page.token,
        containerId: 'vendor',
        steps: page.steps,
        onComplete: data => end('complete', data),
        onError: error => end('error', {type: String(error && error.type), message: String(error && error.message)}),
        onUserExit: reason => end('exit', String(reason)),
      });
      window.veltraneTearDown = () => handle.tearDown();
      tell('loaded');
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
