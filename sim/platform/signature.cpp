// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/signature.h"

#include <cstring>

#include "host/directory.h"

namespace sim {
namespace {

struct ExpectedCallback {
  uint64_t id;
  size_t sizes[2];
  uint32_t types[2];
};

// clang-format off
constexpr ExpectedCallback kGlobal[] = {
    {16, {4, 5120}, {VMK_MGMT_PARMTYPE_OUT, VMK_MGMT_PARMTYPE_OUT}},
    {17, {4, 4},    {VMK_MGMT_PARMTYPE_IN,  VMK_MGMT_PARMTYPE_IN}},
};
constexpr ExpectedCallback kAdapter[] = {
    {16, {4, 208},  {VMK_MGMT_PARMTYPE_IN,  VMK_MGMT_PARMTYPE_OUT}},
    {17, {4, 120},  {VMK_MGMT_PARMTYPE_IN,  VMK_MGMT_PARMTYPE_INOUT}},
};
// clang-format on

std::string checkCallback(const vmk_MgmtCallbackInfo &given, const ExpectedCallback &expected) {
  std::string which = "callback " + std::to_string(expected.id) + ": ";
  if (given.callbackId != expected.id) return which + "the id is " + std::to_string(given.callbackId);
  if (given.location != VMK_MGMT_CALLBACK_KERNEL) return which + "its location is not the kernel";
  if (given.callback) return which + "a user-side pointer is set";
  if (given.synchronous != 1) return which + "not synchronous";
  if (given.numParms != 2) return which + std::to_string(given.numParms) + " parameters";
  for (size_t i = 0; i < 2; ++i) {
    if (given.parmSizes[i] != expected.sizes[i])
      return which + "parameter " + std::to_string(i + 1) + " has " + std::to_string(given.parmSizes[i]) +
             " bytes, not " + std::to_string(expected.sizes[i]);
    if (given.parmTypes[i] != expected.types[i])
      return which + "parameter " + std::to_string(i + 1) + " has the wrong type";
  }
  return {};
}

template <size_t N>
std::string textOf(const char (&field)[N]) {
  return std::string(field, strnlen(field, N));
}

}  // namespace

std::string checkSignature(const vmk_MgmtApiSignature &signature, std::string &adapter) {
  adapter.clear();
  if (signature.version != VMK_MGMT_VERSION) return "the version is not 1.0.0.0";
  if (textOf(signature.vendor) != "VMware") return "the vendor is '" + textOf(signature.vendor) + "'";
  std::string name = textOf(signature.name);
  bool global = name == "nvmeMgmt";
  if (!global) {
    if (!name.starts_with(kSignaturePrefix)) return "the name '" + name + "' is not known";
    adapter = name.substr(kSignaturePrefix.size());
    if (!plainName(adapter)) return "the name '" + name + "' is not known";
  }
  if (signature.numCallbacks != 2 || !signature.callbacks) return "not two callbacks";
  for (size_t i = 0; i < 2; ++i)
    if (std::string wrong = checkCallback(signature.callbacks[i], global ? kGlobal[i] : kAdapter[i]);
        !wrong.empty())
      return wrong;
  return {};
}

}  // namespace sim
