// SPDX-License-Identifier: MIT
#include "lang/StandardTexts.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

#include "lang/modINI.h"
#include "ui/common/QtText.h"

namespace brindle {

void loadStandardTexts() {
    static const QString kName = "standardTexts";
    delete qApp->findChild<QTranslator*>(kName, Qt::FindDirectChildrenOnly);
    const QString locale = toQt(GetLngString("language", "locale"));
    if (locale.isEmpty() || locale.contains('/')) return;
    auto* translator = new QTranslator(qApp);
    translator->setObjectName(kName);
    // "de_AT" finds the file of "de".
    if (translator->load("qtbase_" + locale, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
}

}  // namespace brindle
