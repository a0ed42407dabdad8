#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "harness/FuzzTarget.h"
#include "harness/ReadingCost.h"
#include "harness/TextPieces.h"
#include "linux/hostclient/HostClient.h"
#include "protocol/hostlink/HostLineCodec.h"

// What the extension, or something that stands in its place, says to a host that shows two folders
// and has asked for badges and menus. The bytes of each piece come in two parts, which the first
// byte cuts. All the host says must be lines that the extension understands, and each of its
// questions gets exactly one answer.
namespace {

using namespace kelpie;
using namespace std::chrono_literals;

constexpr ReadingCost::Limits kClientLimits{
    .freeBytes = 60'000, .bytesPerByte = 200, .freeSteps = 250'000, .stepsPerByte = 130};

// A host that does what file managers do.
class FuzzedHost {
 public:
  void meet() {
    client_.connecting();
    client_.connected(now_);
    client_.showFolder("/r");
    client_.showFolder("/r/b c");
    for (const char* path : {"/r/a", "/r/b c/d", "/r/\xff", "/elsewhere"})
      client_.want(path, false);
    drain();
  }
  void hear(std::string_view bytes) {
    client_.received(bytes, now_);
    drain();
    if (!client_.shouldClose()) return;
    client_.ended(now_);
    client_.connecting();
    client_.connectionFailed(now_);
    client_.attemptNow(now_);
    require(client_.wantsConnection(now_) && client_.wakeAt() == now_);
    meet();
  }
  void ask() {
    const HostClient::MenuQuestion question{0, {{"/r/a", false}}, "/r"};
    const auto heard = [this](const std::string&) { ++answers_; };
    questions_ += 3;
    client_.askMenu(
        question, [this](const HostClient::MenuReply&) { ++answers_; }, now_);
    client_.choose(1, {0, 1}, "c", heard, now_);
    client_.chooseByTitles(question, {{"More", 0}, {"Ignore", 0}}, "ignoreItems:", heard, now_);
    client_.askAgain("/r/a");
    client_.showFolder("/r/new");
    client_.showFolder("/");
    (void)client_.wakeAt();
    drain();
  }
  void leave() {
    now_ += 20s;
    client_.tick(now_);
    drain();
    client_.hideFolder("/r");
    client_.ended(now_);
    require(answers_ == questions_);
  }

 private:
  void drain() {
    const std::string output = client_.takeOutput();
    std::string_view rest = output;
    for (std::size_t end = 0; (end = rest.find('\n')) != std::string_view::npos;) {
      require(hostlink::readHostLine(rest.substr(0, end)).line.has_value());
      rest.remove_prefix(end + 1);
    }
    require(rest.empty());
  }
  void look(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) (void)client_.badge(path);
  }

  HostClient::Time now_{1h};
  int questions_ = 0;
  int answers_ = 0;
  HostClient client_{
      "fuzz", {[] {}, [] {}, [this](const std::vector<std::string>& paths) { look(paths); }}};
};

void hearExtension(FuzzTarget::Input input) {
  if (input.empty()) return;
  const std::size_t cut = input[0];
  TextPieces pieces(textOf(input.subspan(1)));
  const ReadingCost cost;
  FuzzedHost host;
  host.meet();
  for (std::size_t i = 0; i < pieces.all().size(); ++i) {
    const std::string_view piece = pieces.all()[i];
    host.hear(piece.substr(0, cut));
    host.hear(piece.size() > cut ? piece.substr(cut) : std::string_view());
    if (i < 4) host.ask();
  }
  host.leave();
  cost.check("HostLinkClientFuzz", pieces.sizeWith(TextPieces::kBytesOfHostLine), kClientLimits);
}

const FuzzTarget kHostLinkClientFuzz("HostLinkClientFuzz", hearExtension);

}  // namespace
