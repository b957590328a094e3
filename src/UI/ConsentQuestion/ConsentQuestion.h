// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/ConsentStore.h"

#include "UI/Appearance/Appearance.h"

#include <QDialog>

namespace vello {

/// A small window that asks whether VELLO may capture what applications play. Enter allows it. Escape and
/// closing the window give no answer.
class ConsentQuestion : public QDialog {
public:
    ConsentQuestion();

    /// Makes the window as light or dark as the user wants, where the toolkit does not know it.
    void setAppearance(const Appearance& appearance);

    /// The user's choice; undecided until the user chooses.
    Consent answer() const { return answer_; }

private:
    void choose(Consent answer);

    Consent answer_ = Consent::undecided;
};

} // namespace vello
