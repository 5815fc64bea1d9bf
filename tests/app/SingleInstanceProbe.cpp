// A second program for the single-instance tests.
//   single_instance_probe <lock path> try   exits 0 when it got the lock, 1 when refused
//   single_instance_probe <lock path> hold  takes the lock, prints "held" and keeps it until
//                                           its input is closed or it is killed
#include "app/Settings.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3)
        return 2;
    const QString lockPath = QString::fromLocal8Bit(argv[1]);
    const bool acquired = quvo::acquireSingleInstance(lockPath);
    if (std::strcmp(argv[2], "try") == 0)
        return acquired ? 0 : 1;
    if (!acquired)
        return 1;
    std::puts("held");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    quvo::releaseSingleInstance();
    return 0;
}
