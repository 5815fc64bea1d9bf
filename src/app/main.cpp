#include "app/Main.h"

int main(int argc, char** argv)
{
    return quvo::Main(argc, argv);
}
