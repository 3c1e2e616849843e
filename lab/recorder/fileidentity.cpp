#include "recorder/fileidentity.h"

#include <QCryptographicHash>
#include <QFile>

namespace recorder {

FileIdentity identify(const std::string &path)
{
    FileIdentity identity;
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly))
        return identity;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    identity.size = file.size();
    if (hash.addData(&file))
        identity.sha256 = hash.result().toHex().toStdString();
    return identity;
}

} // namespace recorder
