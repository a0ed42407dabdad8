#include <memory>
#include <optional>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/Bytes.h"
#include "foundation/Dictionary.h"
#include "foundation/Object.h"
#include "foundation/ObjectView.h"
#include "harness/FuzzTarget.h"
#include "refs/ReferenceClasses.h"

// Any bytes may stand where an archive should. The reader must not crash, hang or grow; what is
// read in place must be what is read whole; and what was read, written and read again must be what
// it was.
//
// An archive that holds, anywhere, what no honest one does (a value that nests too deep, or a plain
// one that holds itself) cannot be decoded: read whole it is nil. In place only what is asked for
// is looked at, so that its container reads as one, and the rest is nil when it is met: to refuse a
// message of a million entries for one that nobody looks at would mean reading all of them first,
// on the main thread. But such a container must be nil as soon as all of it is made.
namespace {

using kelpie::Object;
using kelpie::ObjectView;
using kelpie::require;

constexpr int kMaximumWalk = 16;

// Looks at everything a rule could look at. The budget keeps a value that is shared a million times
// from being walked a million times.
void walk(ObjectView view, int depth, int& budget) {
  if (depth > kMaximumWalk || --budget < 0) return;
  (void)view.integerValue();
  (void)view.stringValue();
  (void)view.data();
  (void)view.pathBytes();
  (void)view["KPMessageSelector"].isEqualToString("setStatusInfo:");
  view.forEachElement([&](ObjectView element) {
    walk(element, depth + 1, budget);
    return budget >= 0;
  });
  view.forEachEntry([&](ObjectView key, ObjectView value) {
    walk(key, depth + 1, budget);
    walk(value, depth + 1, budget);
    return budget >= 0;
  });
}

void readArchive(kelpie::FuzzTarget::Input input) {
  kelpie::registerReferenceClasses();
  const auto bytes = std::make_shared<const kelpie::Bytes>(input.begin(), input.end());
  const Object whole = kelpie::KeyedUnarchiver::unarchiveObject(*bytes);
  const Object inPlace = kelpie::KeyedUnarchiver::open(bytes);
  require(whole.isNil() ? kelpie::KeyedUnarchiver::open(bytes).whole().isNil()
                        : whole.kind() == inPlace.kind());
  // In place, what reads as nil still counts; read whole, it is left out.
  require(whole.size() <= inPlace.size());
  int budget = 10'000;
  walk(inPlace, 0, budget);
  (void)whole.description();
  (void)inPlace.description();

  const std::optional<kelpie::Bytes> written = kelpie::KeyedArchiver::archivedData(whole);
  if (!written) return;
  const Object again = kelpie::KeyedUnarchiver::unarchiveObject(*written);
  require(again.kind() == whole.kind());
  require(again.size() == whole.size());
}

const kelpie::FuzzTarget kKeyedArchiveFuzz("KeyedArchiveFuzz", readArchive);

}  // namespace
