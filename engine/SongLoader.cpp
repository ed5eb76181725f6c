#include "SongLoader.h"

#include "SoundEngine.h"

SongLoader::SongLoader(const SoundEngine& engine, std::function<void()> ready)
    : engine_(engine), ready_(std::move(ready)), worker_([this] { run(); }) {}

SongLoader::~SongLoader() {
    std::optional<Finished> discard;
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        supersede(&discard);
    }
    wake_.notify_all();
    done_.notify_all();
    worker_.join();
}

void SongLoader::supersede(std::optional<Finished>* discard) {
    waiting_.reset();
    if (runningCancel_ != nullptr) {
        runningCancel_->store(true);
    }
    *discard = std::move(finished_);
    finished_.reset();
}

SongLoader::Ticket SongLoader::request(const std::string& path, const SongOptions& options) {
    std::optional<Finished> discard;
    Ticket ticket = 0;
    {
        std::lock_guard lock(mutex_);
        supersede(&discard);
        ticket = ++latest_;
        waiting_ = Request{ticket, path, options};
        waiting_->options.cancel = std::make_shared<std::atomic<bool>>(false);
    }
    wake_.notify_one();
    done_.notify_all();
    return ticket;
}

std::optional<SongLoader::Finished> SongLoader::take() {
    std::lock_guard lock(mutex_);
    std::optional<Finished> taken = std::move(finished_);
    finished_.reset();
    return taken;
}

std::optional<SongLoader::Finished> SongLoader::waitFor(Ticket ticket) {
    std::unique_lock lock(mutex_);
    done_.wait(lock, [&] {
        return stopping_ || ticket != latest_ || (finished_ && finished_->ticket == ticket) ||
               (!waiting_ && running_ != ticket);
    });
    if (!finished_ || finished_->ticket != ticket) {
        return std::nullopt;
    }
    std::optional<Finished> taken = std::move(finished_);
    finished_.reset();
    return taken;
}

void SongLoader::cancel() {
    std::optional<Finished> discard;
    {
        std::lock_guard lock(mutex_);
        supersede(&discard);
        ++latest_; // nothing asked before counts any more
    }
    done_.notify_all();
}

bool SongLoader::busy() const {
    std::lock_guard lock(mutex_);
    return waiting_.has_value() || running_ != 0;
}

void SongLoader::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return stopping_ || waiting_.has_value(); });
        if (stopping_) {
            return;
        }
        Request request = std::move(*waiting_);
        waiting_.reset();
        running_ = request.ticket;
        runningCancel_ = request.options.cancel;
        lock.unlock();

        std::optional<Finished> result(
            Finished{request.ticket, engine_.prepareSong(request.path, request.options)});

        lock.lock();
        running_ = 0;
        runningCancel_.reset();
        const bool wanted = request.ticket == latest_ && !stopping_ && !result->song.cancelled;
        if (wanted) {
            finished_ = std::move(result);
        }
        lock.unlock();
        // A song nobody wants any more is released here, on the thread that made it.
        result.reset();
        done_.notify_all();
        if (wanted && ready_) {
            ready_();
        }
        lock.lock();
    }
}
