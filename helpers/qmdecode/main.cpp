// qmdecode EDGE: decodes the picture on standard input, which is a file, and writes it to standard output (see
// imaging/RowStream.h); a decoder may reduce it down to EDGE pixels, 0: not at all. Confined before it reads the first byte.

#include "helpers/sandbox/Sandbox.h"
#include "imaging/DecodeBudget.h"
#include "imaging/PictureReader.h"
#include "imaging/RowStream.h"

#include <QCoreApplication>
#include <QFile>

#include <unistd.h>

using namespace qm;
using namespace std::chrono_literals;

// More address space than decoders may take, for the programs' own and its libraries' threads.
static constexpr quint64 besidesDecoding = quint64(1) << 30;
static constexpr auto mostTime = 60s; // of a processor; a hundred times what a large photograph takes

static bool isConfined()
{
#ifndef __SANITIZE_ADDRESS__ // which reserves terabytes
    Sandbox::limit(quint64(DecodeBudget::shared().all()) + besidesDecoding, mostTime);
#endif
    return Sandbox::enterForGood();
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv); // finds the plugins of Qt's formats
    QFile picture, pipe;
    if (argc != 2 || !picture.open(STDIN_FILENO, QIODevice::ReadOnly) ||
        !pipe.open(STDOUT_FILENO, QIODevice::WriteOnly | QIODevice::Unbuffered) || !isConfined())
        return 1;
    RowStream::Writer writer(pipe);
    writer.end(PictureReader::read(picture, {.smallestLongEdge = QByteArray(argv[1]).toDouble()}, writer));
    return 0;
}
