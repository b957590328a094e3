// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QTranslator>

namespace vello {

/// Makes the toolkit's texts (`qsTr`) read as `localized` has them. In force from its construction to its
/// end; what was shown before keeps its text. Main thread only; there is a QCoreApplication.
class WordingTranslator final : public QTranslator {
    Q_OBJECT

public:
    WordingTranslator();
    ~WordingTranslator() override;

    bool isEmpty() const override { return false; }
    /// A null string, which leaves the text as it is, where `localized` knows of nothing better.
    QString translate(const char* context, const char* sourceText, const char* disambiguation,
                      int number) const override;
};

} // namespace vello
