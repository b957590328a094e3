// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include <QObject>

namespace vello {

/// Writes to a stream on a thread of its own, so that a reader who does not read keeps nobody else waiting.
/// It holds one text at most: who has more to say waits for `idle` and says then what is true by then.
class BackgroundWriter final : public QObject {
    Q_OBJECT

public:
    /// Nobody else may use the stream meanwhile.
    explicit BackgroundWriter(std::ostream& out);
    /// Waits until the text that is being written has been read.
    ~BackgroundWriter() override;

    bool isIdle() const { return isIdle_; }
    /// Starts writing. Call only while idle.
    void write(std::string text);

Q_SIGNALS:
    /// The text has been written; emitted on the thread of this object.
    void idle();
    /// It could not be written; emitted on the thread of this object with the number of the error, 0 if that
    /// is unknown.
    void failed(int problem);

private:
    void run();
    void finished(bool isWritten, int problem);

    std::ostream& out_;
    bool isIdle_ = true; ///< on the object's thread
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<std::string> text_; ///< guarded
    bool isEnding_ = false;           ///< guarded
    std::thread thread_;              ///< last, because it uses the others
};

} // namespace vello
