#include "agent/sessions/RepositoryReadings.h"

#include <utility>
#include <variant>

#include "agent/git/StatusMerge.h"
#include "foundation/URL.h"

namespace kelpie::agent {
namespace {

// Runs `read` on the queue and hands its result to `done` on the main thread. Both are called off
// with the cancellable.
template <class Readings, class Result>
void run(const std::shared_ptr<Readings>& self, const ReadingContext& context,
         Result (Readings::*read)(), std::function<void(Result)> done) {
  context.queue->post([self, &context, read, done = std::move(done)]() mutable {
    if (g_cancellable_is_cancelled(context.cancellable.get()) != FALSE) return;
    auto result = std::make_shared<Result>((self.get()->*read)());
    context.main->post([self, &context, result, done = std::move(done)] {
      if (g_cancellable_is_cancelled(context.cancellable.get()) == FALSE) done(std::move(*result));
    });
  });
}

}  // namespace

GitStatusReadings::GitStatusReadings(ReadingContext context)
    : context_(std::move(context)),
      reader_(context_.git, context_.workingCopy),
      indexFolders_(context_.git, context_.workingCopy) {}

void GitStatusReadings::start(Question question, std::function<void(Result)> done) {
  thread_.check();
  question_ = std::move(question);
  run(shared_from_this(), context_, &GitStatusReadings::read, std::move(done));
}

void GitStatusReadings::cancel() {
  thread_.check();
  g_cancellable_cancel(context_.cancellable.get());
}

GitStatusReadings::Result GitStatusReadings::read() {
  Result result;
  result.question = std::move(question_);
  readStatus(result);
  return result;
}

void GitStatusReadings::readStatus(Result& result) {
  const URL root = URL::fileURLWithPath(context_.workingCopy.root);
  if (root.identifier(context_.files) != context_.messages->target() ||
      (result.question.find && isGone())) {
    result.vanished = true;
    return;
  }
  const std::shared_ptr<const StatusSnapshot>& known = result.question.known;
  StatusReader::Update update =
      reader_.update(known.get(), result.question.places, context_.cancellable.get());
  if (auto* failure = std::get_if<std::string>(&update.reading)) {
    result.failure = std::move(*failure);
    result.vanished = isGone();
    return;
  }
  result.snapshot = std::get<0>(std::move(update.reading));
  result.whole = std::move(update.whole);
  if (result.question.isProof && known != nullptr)
    result.difference = differenceBetween(known->items(), result.snapshot->items());
  result.message = context_.messages->status(*result.snapshot, context_.files);
  if (!result.snapshot->untrackedShown() && !context_.workingCopy.bare)
    result.trackedFolders = indexFolders_.readIfChanged(context_.cancellable.get());
  result.settingsFiles = context_.git.in(context_.workingCopy.root).settingsFiles();
}

// A working copy that git refuses for another reason is still there.
bool GitStatusReadings::isGone() const {
  const WorkingCopy& own = context_.workingCopy;
  const WorkingCopyFinder::Finding finding = WorkingCopyFinder(context_.git).find(own.root);
  if (finding.workingCopy) return *finding.workingCopy != own;
  return finding.failure.empty();
}

GitReferencesReadings::GitReferencesReadings(ReadingContext context)
    : context_(std::move(context)), reader_(context_.git, context_.workingCopy) {}

void GitReferencesReadings::start(std::function<void(Result)> done) {
  thread_.check();
  run(shared_from_this(), context_, &GitReferencesReadings::read, std::move(done));
}

void GitReferencesReadings::cancel() {
  thread_.check();
  g_cancellable_cancel(context_.cancellable.get());
}

GitReferencesReadings::Result GitReferencesReadings::read() {
  Result result;
  ReferencesReader::Reading reading = reader_.read(context_.cancellable.get());
  if (auto* failure = std::get_if<std::string>(&reading)) {
    result.failure = std::move(*failure);
    return result;
  }
  result.snapshot = std::get<0>(std::move(reading));
  result.messages = context_.messages->references(*result.snapshot);
  return result;
}

}  // namespace kelpie::agent
