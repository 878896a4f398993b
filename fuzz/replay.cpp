// Stands in for libFuzzer where the tests are built: replay FOLDER ROUNDS runs the target over the folder's files, those that
// it makes itself, and so many random changes of them, the same every time.

#include <QByteArrayList>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int *argc, char ***argv);

static void run(const QByteArray &input)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.constData()), size_t(input.size()));
}

static QByteArray changed(QByteArray input, const QByteArrayList &seeds, QRandomGenerator &random)
{
    for (int changes = random.bounded(1, 6); changes > 0; --changes) {
        const auto at = random.bounded(input.size() + 1);
        const auto count = random.bounded(std::min<qsizetype>(input.size() - at, 16) + 1);
        const QByteArray &other = seeds[random.bounded(seeds.size())];
        switch (random.bounded(4)) {
        case 0: input.replace(at, count, QByteArray(count, char(random.generate()))); break;
        case 1: input.remove(at, count); break;
        case 2: input.insert(at, input.mid(at, count)); break;
        case 3: input.replace(at, count, other.mid(random.bounded(other.size() + 1), 16)); break;
        }
    }
    return input;
}

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    const QTemporaryDir made;
    qputenv("FUZZ_SEEDS", made.path().toUtf8());
    const QString kept = QString::fromLocal8Bit(argv[1]);
    const int rounds = atoi(argv[2]);
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    QByteArrayList seeds;
    for (const QString &folder : {kept, made.path()}) {
        for (const QFileInfo &info : QDir(folder).entryInfoList(QDir::Files)) {
            QFile file(info.filePath());
            if (file.open(QIODevice::ReadOnly))
                seeds += file.readAll();
        }
    }
    if (seeds.isEmpty()) {
        std::fprintf(stderr, "no file in %s, and the target makes none\n", argv[1]);
        return 1;
    }
    std::for_each(seeds.begin(), seeds.end(), &run);
    QRandomGenerator random(1);
    for (int round = 0; round < rounds; ++round)
        run(changed(seeds[random.bounded(seeds.size())], seeds, random));
    std::printf("%d inputs and %d changes of them\n", int(seeds.size()), rounds);
    return 0;
}
