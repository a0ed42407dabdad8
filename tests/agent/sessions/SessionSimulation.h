#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "agent/link/ExtensionPort.h"
#include "agent/sessions/ReadingSlots.h"
#include "agent/sessions/RepositorySession.h"
#include "agent/sessions/SessionWorld.h"

namespace kelpie::agent {

// What there is in the working copy, and what git and the watch make of it.
struct SimulatedRepository {
  std::map<std::string, StatusWord> words;  // of all files; 0 is unchanged
  int references = 0;
  bool gitFails = false;
  bool isGone = false;
  // The changes of the status that the watch had told of when a reading began, and the reading's
  // number by its end.
  struct Reading {
    std::size_t changesTold = 0;
    std::size_t number = 0;
  };
  std::size_t changesTold = 0;
  std::size_t readingsMade = 0;
  std::map<std::string, Reading> readings;  // the last that came to each message

  std::string statusText() const;
  std::string referencesText() const { return "references " + std::to_string(references); }
};

// One session of the agent with the real lanes, slots and ports, and around it git, the watch, the
// extensions and the clock, in an order that the seed gives. See SessionSimulationTest.
class SessionSimulation : private SessionWorld {
 public:
  explicit SessionSimulation(unsigned seed);
  ~SessionSimulation();
  SessionSimulation(const SessionSimulation&) = delete;
  SessionSimulation& operator=(const SessionSimulation&) = delete;

  void run(int steps);
  // Git and the ports work, time passes, and every extension that shows the working copy knows what
  // git says, once it has asked.
  void checkTheLastStatus();
  // All extensions go, and nothing is left.
  void checkTheEnd();

  // What has happened, one line each.
  std::string history() const;

 private:
  class Status;
  class References;
  class Watch;
  class Remote;
  class Ports;

  // What an extension has been told.
  struct Extension {
    std::shared_ptr<ExtensionPort> port;  // null while it does not run
    bool isListening = true;              // a connection can be made
    bool isReading = true;                // or each message runs into the time limit
    int connection = 0;                   // one of an older number has ended
    bool isOpen = false;                  // it knows the working copy,
    bool isTaken = false;                 // which was taken from it
    bool wantsReferences = false;
    std::string status;
    std::string references;
    // What there was when it asked first, of a session that nobody used; its first status is of a
    // reading that began later than these changes, or at least ended later. What was on its way
    // comes before the answer.
    SimulatedRepository::Reading askedFirst;
    bool isAnswered = false;
  };

  bool chance(unsigned oneIn) { return random_() % oneIn == 0; }
  void step();
  bool runOneTask();
  void settle();

  void changeFiles();
  void openSession();
  void sessionClosed(bool isGone);
  void show(const std::string& name, const std::string& folder, bool shallow, bool again);
  void launch(const std::string& name);
  std::shared_ptr<ExtensionPort> connect(const std::string& name);
  void renewed(const std::string& name);
  void noticeTheEnd(const std::string& name);
  void changeExtension(const std::string& name);
  void quit(const std::string& name);
  void received(const std::string& name, const Bytes& message);
  void receivedArchive(Extension& extension, const std::string& name, const Bytes& bytes);
  static void receivedReferences(Extension& extension, const std::string& text);
  void receivedStatus(Extension& extension, const std::string& text);
  SessionParts makeParts(WorkingCopyWatch::Callbacks callbacks);

  std::mt19937 random_;
  SimulatedRepository repository_;
  WorkingCopy workingCopy_;
  std::unique_ptr<Ports> ports_;
  std::map<std::string, Extension> extensions_;
  std::shared_ptr<ReadingSlots> slots_;
  std::unique_ptr<RepositorySession> session_;
  Watch* watch_ = nullptr;  // of the session
  bool wasTaken_ = false;
  bool hasFailed_ = false;  // git, at some time
};

}  // namespace kelpie::agent
