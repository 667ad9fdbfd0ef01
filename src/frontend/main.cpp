// frontend/main.cpp - the program: the standard-input front end and the engine behind it.
#include "frontend/frontend.h"

int main(int argc, char** argv) {
    korva::frontend = korva::StdioFrontEnd();
    return korva::SessionMain(argc, argv);
}
