// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/restart.h"

#include "host/directory.h"
#include "launcher/verbs.h"
#include "model/firmware.h"

namespace sim {

int restartVerb(const Arguments &arguments) {
  if (!arguments.words.empty())
    throw UsageError("restart: '" + arguments.words.front() + "' is not expected");
  ensureHost(arguments);
  for (const std::string &name : adapterNames(arguments.state)) {
    AdapterFiles files(arguments.state, name);
    Session session(files);
    session.dropAnswer();
    discardStagedImages(session);
    restart(session.change(), session.now());
    session.commit();
  }
  return 0;
}

}  // namespace sim
