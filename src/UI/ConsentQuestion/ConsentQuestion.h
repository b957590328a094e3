// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/ConsentStore.h"

#include <QDialog>

namespace vello {

/// The question whether VELLO may capture what applications play, as a small window. Enter allows it; Escape
/// and closing the window are no answer.
class ConsentQuestion : public QDialog {
public:
    ConsentQuestion();

    /// What the user chose; undecided until then.
    Consent answer() const { return answer_; }

private:
    void choose(Consent answer);

    Consent answer_ = Consent::undecided;
};

} // namespace vello
