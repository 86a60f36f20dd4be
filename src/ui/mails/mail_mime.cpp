#include "ui/mails/mail_mime.h"

#include <QDataStream>
#include <QIODevice>

namespace postkite::ui {

std::unique_ptr<QMimeData> PackMails(const DraggedMails& mails) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << QByteArray::fromStdString(mails.folder)
           << QList<qint32>(mails.recordNumbers.begin(), mails.recordNumbers.end());
    auto data = std::make_unique<QMimeData>();
    data->setData(kDraggedMailsType, bytes);
    return data;
}

std::optional<DraggedMails> UnpackMails(const QMimeData& data) {
    if (!data.hasFormat(kDraggedMailsType)) return std::nullopt;
    const QByteArray bytes = data.data(kDraggedMailsType);
    QDataStream stream(bytes);
    QByteArray folder;
    QList<qint32> numbers;
    stream >> folder >> numbers;
    if (stream.status() != QDataStream::Ok || folder.isEmpty()) return std::nullopt;
    return DraggedMails{folder.toStdString(), std::vector<int>(numbers.begin(), numbers.end())};
}

}  // namespace postkite::ui
