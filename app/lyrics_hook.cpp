#include "app/lyrics_hook.h"

namespace zelvaro {

LyricsHook::LyricsHook(Deliver deliver)
    : deliver_(std::move(deliver)), mailbox_(std::make_shared<WorkerMailbox>(&receiver_)) {}

LyricsHook::~LyricsHook() {
  Cancel();
  mailbox_->Close();
  if (thread_.joinable()) thread_.detach();
}

void LyricsHook::SetBody(Body body) {
  if (!body) {
    body_ = nullptr;
    return;
  }
  body_ = [body = std::move(body)](const LyricsRequest& request, const std::atomic<bool>& cancel,
                                   const LyricsReport&) { return body(request, cancel); };
}

LyricsHook::StagedBody LyricsHook::DefaultBody() {
  return [](const LyricsRequest& request, const std::atomic<bool>& cancel,
            const LyricsReport& early) { return SearchLyrics(request, cancel, early); };
}

void LyricsHook::Cancel() {
  if (current_) current_->LyricsCancel = true;
}

void LyricsHook::Start(LyricsRequest request) {
  Cancel();
  if (!body_) return;
  auto lookup = std::make_shared<Lookup>();
  current_ = lookup;
  std::thread previous = std::move(thread_);
  thread_ =
      std::thread([this, previous = std::move(previous), lookup, body = body_,
                   request = std::move(request), mailbox = mailbox_, stats = stats_]() mutable {
        // The old request ends here, off the interface thread.
        if (previous.joinable()) previous.join();
        std::unique_ptr<LyricsResult> result;
        if (!lookup->LyricsCancel) {
          // `this` is used only inside delivered calls, which run on the
          // interface thread while the receiver (a member) is alive.
          auto deliverEarly = [this, lookup, mailbox](std::unique_ptr<LyricsResult> early) {
            if (lookup->LyricsCancel) return;
            mailbox->Post([this, lookup, early = std::shared_ptr<LyricsResult>(std::move(early))] {
              if (lookup->LyricsCancel || !deliver_) return;
              deliver_(std::make_unique<LyricsResult>(std::move(*early)));
            });
          };
          result = body(request, lookup->LyricsCancel, deliverEarly);
          ++stats->finished;
        }
        if (lookup->LyricsCancel) {
          ++stats->dropped;
          return;
        }
        mailbox->Post([this, lookup, result = std::move(result), stats]() mutable {
          // A newer lookup may have started after the post.
          if (lookup->LyricsCancel) {
            ++stats->dropped;
            return;
          }
          if (deliver_) deliver_(std::move(result));
        });
      });
}

}  // namespace zelvaro
