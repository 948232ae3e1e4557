// SPDX-License-Identifier: GPL-3.0-or-later
// Writing: what is gathered, when it is sent, and who is told of a failure.
#include "Linux/Volume/Operations.h"

namespace quillbox::volume {
namespace {

/// Lets the delegate's writes of this thread answer before the device has.
class EarlyAnswers {
public:
    EarlyAnswers(VolumeBacking& backing, bool wanted) : backing_(backing) {
        backing_.answerWritesEarly(wanted);
    }

    ~EarlyAnswers() { backing_.answerWritesEarly(false); }

    EarlyAnswers(const EarlyAnswers&) = delete;
    EarlyAnswers& operator=(const EarlyAnswers&) = delete;

private:
    VolumeBacking& backing_;
};

}  // namespace

// One write of the delegate's. The caller has a turn.
Result<std::size_t> Operations::writeNow(const OpenFile& file, const char* buffer, std::size_t size,
                                         std::int64_t offset) {
    const EarlyAnswers early(backing_, !file.isSynchronous);
    const std::string path = nodes_.path(file.node).value_or("");
    backing_.beginCall();
    std::optional<NSError> error;
    const std::int32_t count =
        delegate_.writeFileAtPath(path, file.userData, buffer, size, offset, &error);
    if (count < 0) {
        return Failure{errnoOfRefusal(error, backing_.lastFailure())};
    }
    if (static_cast<std::size_t>(count) > size || (count == 0 && size > 0)) {
        return Failure{EIO};
    }
    nodes_.grown(file.node, static_cast<std::uint64_t>(offset) + static_cast<std::uint64_t>(count));
    return static_cast<std::size_t>(count);
}

// A failure belongs to whoever wrote; nobody else is told. The caller has a turn.
void Operations::send(const GatheredWrites::Run& run) {
    const auto file = files_.find(run.handle);
    if (!file) {
        return;
    }
    std::size_t sent = 0;
    while (sent < run.size) {
        const auto count = writeNow(*file, run.bytes.get() + sent, run.size - sent,
                                    run.offset + static_cast<std::int64_t>(sent));
        if (!count) {
            file->writing->note(count.error());
            return;
        }
        sent += *count;
    }
}

void Operations::sendGathered(NodeId node) {
    if (gathered_.isEmpty()) {
        return;
    }
    const std::lock_guard sending(sendMutex_);
    const auto attributes = nodes_.kept(node);
    if (attributes && attributes->st_nlink > 1 && !S_ISDIR(attributes->st_mode)) {
        // It may be gathered under the file's other name.
        while (const auto run = gathered_.takeAny()) {
            send(*run);
        }
    } else if (const auto run = gathered_.take(node)) {
        send(*run);
    }
}

void Operations::sendAllGathered() {
    if (gathered_.isEmpty()) {
        return;
    }
    const std::lock_guard sending(sendMutex_);
    while (const auto run = gathered_.takeAny()) {
        send(*run);
    }
}

Result<std::size_t> Operations::write(Caller& caller, HandleId handle, const char* buffer,
                                      std::size_t size, std::int64_t offset) {
    const auto file = files_.find(handle);
    if (!file || file->isVirtual || offset < 0) {
        return Failure{EBADF};
    }
    if (const int late = file->writing->take(); late != 0) {
        return Failure{late};
    }
    const auto end = static_cast<std::uint64_t>(offset) + size;
    const auto isGathered = [&] {
        if (file->isSynchronous) {
            return false;
        }
        const auto added = gathered_.add(file->node, handle, buffer, size, offset);
        if (added == GatheredWrites::Added::No) {
            return false;
        }
        nodes_.grown(file->node, end);
        if (added == GatheredWrites::Added::First) {
            whenGathering_();
        }
        return true;
    };
    file->writing->isDirty = true;
    if (isGathered()) {
        file->writing->isDirty = true;  // a flush between may have come too early for these bytes
        return size;
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    sendGathered(file->node);
    if (const int late = file->writing->take(); late != 0) {
        return Failure{late};
    }
    return isGathered() ? Result<std::size_t>(size) : writeNow(*file, buffer, size, offset);
}

// Everything is on the device, or noted as failed. The caller has a turn.
void Operations::settleWrites(const OpenFile& file) {
    sendGathered(file.node);
    backing_.beginCall();
    if (const AFCError refusal = backing_.finishWrites(file.userData); refusal != kAFCSuccess) {
        file.writing->note(errnoOfDevice(refusal));
    }
}

// The caller has a turn.
Result<Done> Operations::finishWrites(const OpenFile& file) {
    settleWrites(file);
    const int late = file.writing->take();
    return late == 0 ? Result<Done>(Done{}) : Result<Done>(Failure{late});
}

Result<Done> Operations::flush(Caller& caller, HandleId handle) {
    const auto file = files_.find(handle);
    if (!file || file->isVirtual || !file->isWritable || !file->writing->isUnfinished()) {
        return Done{};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    file->writing->isDirty = false;
    return finishWrites(*file);
}

// Whoever syncs a file asks for all that was written to it, through whichever open and name.
std::vector<OpenFile> Operations::unfinished(NodeId node) const {
    std::vector<OpenFile> result;
    const auto own = nodes_.kept(node);
    for (OpenFile& file : files_.allWritable()) {
        const auto its = nodes_.kept(file.node);
        const bool isSame = file.node == node || (own && its && own->st_ino == its->st_ino);
        if (isSame && file.writing->isUnfinished()) {
            result.push_back(std::move(file));
        }
    }
    return result;
}

Result<Done> Operations::sync(Caller& caller, HandleId handle) {
    const auto own = files_.find(handle);
    if (!own || own->isVirtual || unfinished(own->node).empty()) {
        return Done{};
    }
    const auto turn = queue_.enter(caller);
    if (!turn) {
        return turn.failure();
    }
    Result<Done> answer = Done{};
    for (const OpenFile& file : unfinished(own->node)) {
        int late = 0;
        if (file.writing == own->writing) {
            file.writing->isDirty = false;
            late = finishWrites(file).error();
        } else {
            settleWrites(file);
            late = file.writing->tell(*own->writing);
        }
        if (answer && late != 0) {
            answer = Failure{late};
        }
    }
    return answer;
}

void Operations::finishAllWrites() {
    PatientCaller nobody;
    for (const HandleId handle : files_.handles()) {
        const auto done = flush(nobody, handle);
        if (const auto file = files_.find(handle); file && !done) {
            file->writing->note(done.error());
        }
    }
}

void Operations::sendLingering() {
    PatientCaller nobody;
    const auto turn = queue_.enter(nobody);
    if (!turn) {
        return;
    }
    const std::lock_guard sending(sendMutex_);
    // Who goes on writing needs no turn, and would keep this one busy for ever.
    for (std::size_t runs = gathered_.count(); runs > 0; --runs) {
        if (const auto run = gathered_.takeAny()) {
            send(*run);
        }
    }
}

bool Operations::hasUnfinishedWrites() const {
    for (const HandleId handle : files_.handles()) {
        const auto file = files_.find(handle);
        if (file && file->isWritable && file->writing->isDirty) {
            return true;
        }
    }
    return false;
}

}  // namespace quillbox::volume
