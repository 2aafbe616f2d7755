// Opens the package named on the command line and prints its entry count:
// all that a command line listing needs before its first line of output.
#include "packages/CDelegateVPK.h"

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    CDelegateVPK vpk;
    if (!vpk.openPackage(QString::fromLocal8Bit(argv[1]), true))
        return 1;
    std::printf("%d\n", vpk.getNodeCount());
    return 0;
}
