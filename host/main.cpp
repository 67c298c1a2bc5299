#include "host/commands.h"

int main(int nArguments, char** ppArguments)
{
    return Host::RunProgram(nArguments, ppArguments);
}
