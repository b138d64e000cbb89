#include <cmath>
#include <cstdio>

#include "film/Commands.h"
#include "film/FrameLoss.h"
#include "film/Report.h"
#include "film/Summary.h"

namespace film {
namespace {

double rounded(double value, double steps) { return std::round(value * steps) / steps; }

nlohmann::ordered_json describePlan(Session& session) {
  nlohmann::ordered_json description = DescribeEffect(session);
  const FrameLoss loss = LossOf(session.effect());
  description["plan"] = {{"zoom", rounded(ZoomOf(session.effect()), 1000)},
                         {"cutPercent", rounded(loss.cut, 10)},
                         {"emptyPercent", rounded(loss.empty, 10)},
                         {"emptiestPercent", rounded(loss.emptiest, 10)}};
  return description;
}

}  // namespace

ExitStatus Plan(const SessionOptions& options, bool json) {
  Session session(options);
  if (session.needsAnalysis()) {
    session.checkDocumentCanBeWritten();
    if (!session.analyse()) return Cancelled(KeptAnalysis(session));
  }
  session.trySettings();
  session.effect().showFirstFrame();
  const nlohmann::ordered_json description = describePlan(session);
  // One line where every line is an object.
  if (json)
    std::printf("%s\n", description.dump(options.progress == ProgressStyle::Json ? -1 : 1).c_str());
  else
    std::printf("%s", TextOf(description).c_str());
  return kDone;
}

}  // namespace film
