#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/actions/WebAddress.h"
#include "agent/git/Refspecs.h"
#include "foundation/URL.h"
#include "harness/FuzzTarget.h"
#include "harness/ReadingCost.h"
#include "harness/TextPieces.h"
#include "linux/hostlink/HostValues.h"

// The addresses that a repository's settings name, and the URLs that hosts write. The first piece
// is an address, the second a URL, the third a full name of a reference, the fourth is
// refspecs, one each line.
// A page's address is handed to a browser: it must be one word without a user's name or password.
namespace {

using namespace kelpie;

constexpr ReadingCost::Limits kAddressLimits{
    .freeBytes = 20'000, .bytesPerByte = 100, .freeSteps = 20'000, .stepsPerByte = 80};

void checkPage(const std::string& page) {
  constexpr std::string_view kScheme = "https://";
  require(page.starts_with(kScheme));
  const std::string_view rest = std::string_view(page).substr(kScheme.size());
  const std::string_view host = rest.substr(0, rest.find('/'));
  require(!host.empty() && !host.starts_with('-') && host.find('@') == std::string_view::npos);
  require(rest.size() > host.size() + 1);
  require(std::ranges::all_of(page, [](char each) { return each > ' ' && each < '\x7f'; }));
}

void checkFileUrl(const URL& url) {
  require(url.isFileURL() && url.path().starts_with('/'));
  // Written and read again, it names the same file.
  const std::optional<URL> again = hostlink::fileURL(url.absoluteString());
  require(again && again->path() == url.path());
}

void readAddresses(FuzzTarget::Input input) {
  TextPieces pieces(textOf(input));
  const ReadingCost cost;
  if (const auto page = agent::webAddress(pieces.next())) checkPage(*page);
  const std::string text = pieces.next();
  if (const auto url = hostlink::fileURL(text)) checkFileUrl(*url);
  const std::string name = pieces.next();
  const std::string lines = pieces.next();
  std::vector<std::string> refspecs;
  for (const std::string_view line : linesOf(lines)) refspecs.emplace_back(line);
  (void)agent::nameOnRemote(refspecs, name);
  // A name is written once for each refspec that fits, as the refspec says.
  cost.check("AddressFuzz", pieces.size() + refspecs.size() * name.size(), kAddressLimits);
}

const FuzzTarget kAddressFuzz("AddressFuzz", readAddresses);

}  // namespace
