#include "agent/actions/ActionFixture.h"

#include <cstdlib>
#include <utility>
#include <variant>

#include "agent/actions/ActionRules.h"
#include "agent/git/ReferencesReader.h"
#include "agent/git/StatusReader.h"

namespace kelpie::agent {
namespace {

// Takes the next answer from a file: the first word decides how it ends, a text goes to the output.
constexpr const char* kZenity = R"(printf '%s\n' "$@" >> "$KELPIE_SANDBOX/asked"
echo "--" >> "$KELPIE_SANDBOX/asked"
if [ -e "$KELPIE_SANDBOX/meanwhile" ]; then
  mv "$KELPIE_SANDBOX/meanwhile" "$KELPIE_SANDBOX/happened"
  (cd "$KELPIE_SANDBOX/r" && sh "$KELPIE_SANDBOX/happened")
fi
answer=$(head -n 1 "$KELPIE_SANDBOX/answers")
sed -i 1d "$KELPIE_SANDBOX/answers"
case "$answer" in
  yes) exit 0 ;;
  no|"") exit 1 ;;
esac
printf '%s\n' "$answer"
)";

}  // namespace

ActionFixture::ActionFixture() {
  const char* path = std::getenv("PATH");
  sandbox.setVariable("PATH", sandbox.path("bin") + ":" + (path == nullptr ? "" : path));
  sandbox.setVariable("DISPLAY", ":kelpie");
  sandbox.setVariable("WAYLAND_DISPLAY", "");
  // What git says is looked for in English.
  sandbox.setVariable("LC_ALL", "C");
  sandbox.setVariable("KELPIE_SANDBOX", sandbox.root());
  sandbox.writeScript("bin/zenity", kZenity);
  sandbox.write("answers", "");
}

void ActionFixture::SetUp() {
  sandbox.init("r");
  sandbox.write("r/a", "one\n");
  sandbox.write("r/sub/b", "one\n");
  sandbox.commitAll("r", "first");
  means.configurationFolder = sandbox.path(".config/kelpie");
  useTools("");
}

void ActionFixture::useTools(std::string_view tools) {
  sandbox.write(".config/kelpie/agent.conf", "[Tools]\n" + std::string(tools));
  std::vector<std::string> problems;
  means.tools = ToolCommands::read(sandbox.path(".config/kelpie/agent.conf"), problems);
  EXPECT_TRUE(problems.empty());
  runner = std::make_unique<ActionRunner>(
      means, queues, log, notifier,
      ActionRunner::Callbacks{[this] { hasQuit = true; },
                              [this](const ActionRequest&, const ActionContext&,
                                     const ActionOutcome& outcome) { last = outcome; }});
}

void ActionFixture::answer(const std::vector<std::string>& answers) const {
  std::string lines;
  for (const std::string& each : answers) lines += each + "\n";
  sandbox.write("answers", lines);
}

void ActionFixture::meanwhile(std::string_view script) const { sandbox.write("meanwhile", script); }

void ActionFixture::removeDialogs() { sandbox.setVariable("DISPLAY", ""); }

void ActionFixture::addProgram(std::string_view name, std::string_view more) const {
  const std::string file = "\"$KELPIE_SANDBOX/" + std::string(name) + "\"";
  sandbox.writeScript("bin/" + std::string(name),
                      "{ pwd; printf '%s\\n' \"$@\"; } >> " + file + "\n" + std::string(more));
}

ActionRequest ActionFixture::request(std::string_view action, std::string_view title,
                                     std::int64_t tag) {
  ActionRequest request(*ActionRules::find(action));
  request.title = title;
  request.tag = tag;
  return request;
}

ActionRequest ActionFixture::filesRequest(std::string_view action,
                                          const std::vector<std::string>& paths,
                                          std::int64_t tag) const {
  ActionRequest result = request(action, "", tag);
  for (const std::string& path : paths)
    result.paths.push_back(path.starts_with('/') ? path : sandbox.path("r/" + path));
  return result;
}

ActionContext ActionFixture::context(std::string_view folder) {
  const GitCommand git("git", "/");
  const auto finding = WorkingCopyFinder(git).find(sandbox.path(folder));
  EXPECT_TRUE(finding.workingCopy) << finding.failure;
  ActionContext context;
  context.workingCopy = finding.workingCopy.value_or(WorkingCopy());
  const auto status = StatusReader(git, context.workingCopy).read();
  if (const auto* read = std::get_if<0>(&status)) context.status = *read;
  const auto references = ReferencesReader(git, context.workingCopy).read();
  if (const auto* read = std::get_if<0>(&references)) context.references = *read;
  return context;
}

ActionOutcome ActionFixture::run(const ActionRequest& request, const ActionContext& context) {
  last.reset();
  runner->run(request, context);
  queues.runAll();
  EXPECT_TRUE(last) << request.action() << " has not ended";
  return last.value_or(ActionOutcome::failed("has not ended"));
}

ActionOutcome ActionFixture::runOn(std::string_view action, std::string_view fullName,
                                   const std::vector<std::string>& paths) {
  const ActionContext now = context();
  const Reference* reference = now.references->referenceNamed(fullName);
  if (reference == nullptr) {
    ADD_FAILURE() << "no reference " << fullName;
    return ActionOutcome::failed("no reference");
  }
  return run(filesRequest(action, paths, reference->number), now);
}

std::string ActionFixture::status(std::string_view folder) const {
  return sandbox.git(folder, {"status", "--porcelain"});
}

void ActionFixture::makeConflict() const {
  sandbox.git("r", {"checkout", "-q", "-b", "other"});
  sandbox.write("r/a", "theirs\n");
  sandbox.commitAll("r", "theirs");
  sandbox.git("r", {"checkout", "-q", "main"});
  sandbox.write("r/a", "ours\n");
  sandbox.commitAll("r", "ours");
  EXPECT_FALSE(sandbox.tryGit("r", {"merge", "-q", "other"}).succeeded());
}

void ActionFixture::addRemote() const {
  sandbox.git("", {"clone", "-q", "--bare", "r", "far"});
  sandbox.git("r", {"remote", "add", "origin", sandbox.path("far")});
  sandbox.git("r", {"fetch", "-q", "origin"});
  sandbox.git("r", {"branch", "-q", "--set-upstream-to=origin/main", "main"});
}

void expectDone(const ActionOutcome& outcome) {
  EXPECT_EQ(outcome.end, ActionOutcome::End::Done) << outcome.message;
}

void expectCancelled(const ActionOutcome& outcome) {
  EXPECT_EQ(outcome.end, ActionOutcome::End::Cancelled) << outcome.message;
}

void expectFailed(const ActionOutcome& outcome, std::string_view words) {
  EXPECT_EQ(outcome.end, ActionOutcome::End::Failed);
  EXPECT_NE(outcome.message.find(words), std::string::npos) << outcome.message;
}

}  // namespace kelpie::agent
