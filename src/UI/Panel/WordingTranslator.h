// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QTranslator>

namespace vello {

/// Translates Qt's texts (`qsTr`) with `localized`. Active during its lifetime; texts shown earlier do not
/// change. Main thread only. Requires a QCoreApplication.
class WordingTranslator final : public QTranslator {
    Q_OBJECT

public:
    WordingTranslator();
    ~WordingTranslator() override;

    bool isEmpty() const override { return false; }
    /// Returns a null string, which keeps the source text, when `localized` has no translation.
    QString translate(const char* context, const char* sourceText, const char* disambiguation,
                      int number) const override;
};

} // namespace vello
