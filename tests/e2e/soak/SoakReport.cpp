#include "e2e/soak/SoakReport.h"

#include "e2e/soak/SoakJudge.h"

namespace kelpie {

using nlohmann::json;

json soakReport(const SoakSession& soak, const std::string& kind, std::uint64_t seed,
                std::size_t warmUp) {
  json checkpoints = json::array();
  for (const SoakSession::Checkpoint& checkpoint : soak.checkpoints())
    checkpoints.push_back({{"minutes", checkpoint.minutes},
                           {"changes", checkpoint.changes},
                           {"compared", checkpoint.compared},
                           {"wrong", checkpoint.wrong},
                           {"ended", checkpoint.ended},
                           {"hosts", checkpoint.hosts},
                           {"vanished", checkpoint.vanished},
                           {"copies", checkpoint.copies},
                           {"actions", checkpoint.actions}});
  json all = json::array();
  for (const SoakSeries& series : soak.series()) {
    const SoakVerdict verdict = judge(series, warmUp);
    all.push_back({{"process", series.process},
                   {"figure", series.figure},
                   {"values", series.values},
                   {"judged", verdict.isJudged},
                   {"finding", verdict.finding},
                   {"right", verdict.isRight}});
  }
  return {{"kind", kind},
          {"seed", seed},
          {"warmUp", warmUp},
          {"checkpoints", checkpoints},
          {"series", all}};
}

}  // namespace kelpie
