// The program: the command line, with one door for whatever is thrown.
#include <new>

#include "apps/dravin/command_line.h"
#include "apps/dravin/console.h"

int main(int argc, char** argv) {
    try {
        int code = CommandLine().Run(argc, argv);
        bool isDone = FinishResults();
        return code == kExitDone && !isDone ? kExitNoOutput : code;
    } catch (const std::bad_alloc&) {
        PrintError("out of memory");
        return kExitLimit;
    } catch (const std::exception& error) {
        PrintError(error.what());
        return kExitFailed;
    }
}
