// The least a program that reads a package can start with: Qt Core, the
// file read whole, its size printed.
#include <QFile>

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    QFile file(QString::fromLocal8Bit(argv[1]));
    if (!file.open(QIODevice::ReadOnly))
        return 1;
    std::printf("%lld\n", static_cast<long long>(file.readAll().size()));
    return 0;
}
