// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/WordingTranslator.h"

#include "Foundation/Localization.h"

#include <QCoreApplication>

namespace vello {

WordingTranslator::WordingTranslator() {
    QCoreApplication::installTranslator(this);
}

WordingTranslator::~WordingTranslator() {
    QCoreApplication::removeTranslator(this);
}

QString WordingTranslator::translate(const char* /*context*/, const char* sourceText,
                                     const char* disambiguation, int /*number*/) const {
    const bool hasContext = disambiguation != nullptr && *disambiguation != '\0';
    const std::string wording =
        hasContext ? localizedInContext(disambiguation, sourceText) : localized(sourceText);
    return wording == sourceText ? QString() : QString::fromStdString(wording);
}

} // namespace vello
