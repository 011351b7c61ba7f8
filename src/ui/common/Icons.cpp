// SPDX-License-Identifier: MIT
#include "ui/common/Icons.h"

#include <QFile>

// Of a static library, a resource is linked only when it is asked for; outside of any namespace.
static void linkResources() {
    Q_INIT_RESOURCE(Brindle);
}

namespace brindle {

QIcon ownIcon(const char* name) {
    linkResources();
    return QIcon(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name)));
}

std::string compiledFile(const char* name) {
    linkResources();
    QFile file(QStringLiteral(":/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return file.readAll().toStdString();
}

}  // namespace brindle
