/// Runs a fuzz target once on each file in a folder, built with any compiler.

#include <QDir>
#include <QFile>

#include <cstdint>
#include <cstdlib>
#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argumentCount, char **arguments)
{
    if (argumentCount != 2)
        return EXIT_FAILURE;
    const QDir folder(QFile::decodeName(arguments[1]));
    const QStringList names = folder.entryList(QDir::Files);
    for (const QString &name : names) {
        QFile file(folder.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            return EXIT_FAILURE;
        std::cout << name.toStdString() << '\n' << std::flush;
        const QByteArray input = file.readAll();
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(input.data()),
                               static_cast<std::size_t>(input.size()));
    }
    return names.isEmpty() ? EXIT_FAILURE : EXIT_SUCCESS; // an empty corpus checks nothing
}
