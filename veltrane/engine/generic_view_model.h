#pragma once

#include <vector>

#include "veltrane/base/dictionary.h"

namespace veltrane {

/// The user views of a flow, by user view index. See `GenericViewModel` for the entries of one.
using UserViewProps = std::vector<Dictionary>;

/// Turns a flow document into user view dictionaries.
///
/// A dictionary always holds the texts "screenTemplateName", "connectionId" and "capabilityName".
/// A supported template adds "screenComponentList" and "textFields" (arrays), "nextEvent" and
/// "onLoadEvent" (the server's event objects), "nextParam" and "onLoadParam" (`EventParams` as an
/// object), and every other screen property under its own name.
struct GenericViewModel {
  /// Pure and total. A document without user views gives one empty dictionary, so that index 0 can
  /// always be read; an empty list gives none.
  static UserViewProps getUserViewProps(const JSON& flow);

  /// The user views of one connector of a method list, read by the same rules. Their events go to
  /// the connector: its "connectionId" and "capabilityName", everything else from the flow. A
  /// connector without user views gives none.
  static UserViewProps getUserViewProps(const JSON& flow, const JSON& connector);
};

}  // namespace veltrane
