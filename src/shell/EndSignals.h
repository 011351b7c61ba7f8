// SPDX-License-Identifier: MIT
// SIGINT, SIGTERM and SIGHUP as a request to end the program.
#pragma once

#include <functional>

#include <QObject>

namespace brindle {

// While it lives, the first such signal calls `end` from the event loop. A second one removes the
// temporaries of this process and ends it at once, as the signal alone would. No file is torn
// either way. A signal that the caller had ignored (nohup) stays ignored. One object at a time.
class EndSignals : public QObject {
public:
    explicit EndSignals(const std::function<void()>& end);
    ~EndSignals() override;
};

}  // namespace brindle
