#include "operations/encoderoutput.h"

#include <QDir>
#include <QTemporaryFile>

#include "crypto/fileencoder.h"
#include "items/localfile.h"

EncoderOutput::EncoderOutput(const QSharedPointer<LocalFile>& source, const ClientSideEncryption& settings)
    : m_source(source), m_settings(settings), m_plainSize(source->size())
{
}

bool EncoderOutput::prepare()
{
    const auto temporary = QSharedPointer<QTemporaryFile>::create();
    // Removed with the upload's last reference to it.
    temporary->setAutoRemove(true);
    if (!temporary->open()) {
        const QString message = QStringLiteral("%1: %2").arg(QDir::tempPath(), temporary->errorString());
        m_error = OpError(OpError::FileError, QString(), message, QString());
        return false;
    }
    // Only its name is needed here: the encoder and the parts open it anew.
    temporary->close();
    m_file = temporary;
    return !m_settings.isEncryptionEnabled() || FileEncoder::chooseSalt(m_settings, &m_salt, &m_iv, &m_error);
}

QString EncoderOutput::path() const
{
    return static_cast<const QTemporaryFile*>(m_file.data())->fileName();
}
