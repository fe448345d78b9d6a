#include "app/console/session.h"

int main(int argc, char** argv) {
    return RunConsole(argc, argv);
}
