#pragma once
// UpdateChecker: the process-wide entry to update checks.
//
// Owns nothing a thread could outlive: each check runs on a detached thread
// that holds, by shared pointer, the state it reports into and the UI it
// speaks through, so closing the player never waits for a check and a late
// check never touches freed memory. At most one check runs at a time: a new
// check waits up to 2 s on its own thread for the former one, then goes
// ahead regardless.
//
// Threads: SetUi, StartCheck and Shutdown are called on the interface
// thread; LastInfo from any thread.

#include "update/update_check.h"

#include <memory>

namespace zelvaro {

class UpdateChecker {
 public:
  static UpdateChecker& Instance();

  // The message boxes of later checks; set by the main window before the first.
  void SetUi(std::shared_ptr<UpdateUi> ui);
  void SetLimits(const UpdateLimits& limits);

  // True when an update server is configured (`UpdateEndpoint`).
  static bool IsConfigured();

  // Starts a check on a new thread and returns at once.
  void StartCheck(bool silent);

  // The record of the last check whose reply was read whole.
  UpdateInfo LastInfo() const;

  // Tells running checks to stop at their next step and drops the UI; never
  // waits. Checks started afterwards run as usual.
  void Shutdown();

  struct State;

 private:
  UpdateChecker();
  std::shared_ptr<State> state_;
};

}  // namespace zelvaro
