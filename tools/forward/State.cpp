#include "tools/forward/State.h"

#include "tools/console/NotDone.h"
#include "tools/records/Forwarding.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <fcntl.h>
#include <sys/file.h>

namespace Tavrel
{

using namespace Qt::StringLiterals;

// The lines of the file: the report on the last pass; the days; when the office last had all, the
// number of rows that cannot be sent, and the version of the file. So this, which spares reading
// the file, is lost with any of the days.

State::State(const QString &identity)
    : m_path(Forwarding::stateFolder() + u'/' + Forwarding::stateFile(identity))
{
}

void State::read()
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    file.readLine();
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().replace('\n', "");
        const QByteArrayList cells = line.split('\t');
        const QByteArrayList day = line.split(' ');
        if (cells.size() == 1) {
            confirmed[day[0]] = {day.value(1).toLongLong(), day.value(2).toULongLong()};
            continue;
        }
        lastComplete = QString::fromLatin1(cells[0]);
        unsendable = cells[1].toLongLong();
        version = cells.value(2);
    }
}

void State::lock()
{
    const QString path = m_path + u".lock"_s;
    QDir().mkpath(Forwarding::stateFolder());
    m_lock = FileDescriptor(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!m_lock)
        throw NotDone{u"Cannot write \"%1\": %2."_s.arg(path, qt_error_string())};
    if (::flock(m_lock.get(), LOCK_EX | LOCK_NB) != 0)
        throw NotDone{u"Another pass of this door is running."_s};
}

void State::save(int status, const QString &sentence) const
{
    QSaveFile file(m_path);
    const bool isSaved =
        file.open(QIODevice::WriteOnly) &&
        file.write(QByteArray::number(status) + ' ' + sentence.simplified().toUtf8() + '\n' +
                   linesOf(confirmed) + lastComplete.toLatin1() + '\t' +
                   QByteArray::number(unsendable) + '\t' + version + '\n') > 0 &&
        file.commit();
    if (!isSaved)
        throw NotDone{u"Cannot write \"%1\": %2."_s.arg(m_path, file.errorString())};
}

QByteArray linesOf(const Days &days)
{
    QByteArray lines;
    for (const auto &[day, content] : days)
        lines += day + ' ' + QByteArray::number(content.count) + ' ' +
                 QByteArray::number(content.digest) + '\n';
    return lines;
}

} // namespace Tavrel
