#include "update/update_checker.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace zelvaro {

struct UpdateChecker::State {
  std::mutex mutex;
  std::condition_variable idle;
  int running = 0;
  UpdateInfo lastInfo;
  std::shared_ptr<UpdateUi> ui;
  UpdateLimits limits;
  std::shared_ptr<std::atomic<bool>> cancel = std::make_shared<std::atomic<bool>>(false);
};

namespace {

constexpr auto kFormerCheckWait = std::chrono::milliseconds(2000);

void CheckThread(std::shared_ptr<UpdateChecker::State> state, UpdateEnvironment environment,
                 bool silent) {
  {
    std::unique_lock lock(state->mutex);
    // A former check still stuck after this long is left to itself.
    state->idle.wait_for(lock, kFormerCheckWait, [&] { return state->running == 0; });
    ++state->running;
  }
  UpdateCheck check(std::move(environment));
  check.Run(silent);
  std::lock_guard lock(state->mutex);
  if (check.ReplyRead()) state->lastInfo = check.Info();
  --state->running;
  state->idle.notify_all();
}

}  // namespace

UpdateChecker& UpdateChecker::Instance() {
  static UpdateChecker instance;
  return instance;
}

UpdateChecker::UpdateChecker() : state_(std::make_shared<State>()) {}

void UpdateChecker::SetUi(std::shared_ptr<UpdateUi> ui) {
  std::lock_guard lock(state_->mutex);
  state_->ui = std::move(ui);
}

void UpdateChecker::SetLimits(const UpdateLimits& limits) {
  std::lock_guard lock(state_->mutex);
  state_->limits = limits;
}

bool UpdateChecker::IsConfigured() {
  return !UpdateEndpoint().isEmpty();
}

void UpdateChecker::StartCheck(bool silent) {
  UpdateEnvironment environment;
  {
    std::lock_guard lock(state_->mutex);
    environment.ui = state_->ui;
    environment.limits = state_->limits;
    environment.cancel = state_->cancel;
  }
  std::thread(CheckThread, state_, std::move(environment), silent).detach();
}

UpdateInfo UpdateChecker::LastInfo() const {
  std::lock_guard lock(state_->mutex);
  return state_->lastInfo;
}

void UpdateChecker::Shutdown() {
  std::lock_guard lock(state_->mutex);
  state_->cancel->store(true);
  // Checks started later (a player set up again in the same process) run.
  state_->cancel = std::make_shared<std::atomic<bool>>(false);
  state_->ui.reset();
}

}  // namespace zelvaro
