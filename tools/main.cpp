#include "cli.h"

int main(int argc, char **argv)
{
    return ribctl_run(argc, argv);
}
