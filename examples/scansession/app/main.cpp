// A scan session from end to end: takes depth images, hangs each as a leaf with its pose into the
// transformation tree, and writes and draws the surfels of all leaves in the frame of the root.

#include "examples/scansession/app/interruption.h"
#include "examples/scansession/app/options.h"
#include "examples/scansession/app/run.h"
#include "examples/scansession/scans/inputerror.h"

#include <exception>
#include <iostream>
#include <stdexcept>

int main(int argc, char** argv)
{
    constexpr int c_badInput = 2;
    scansession::RemovePartFilesWhenInterrupted();
    try {
        const auto options = scansession::ParseOptions(argc, argv, std::cout);
        if (options) scansession::RunSession(*options, std::cout, std::cerr);
        if (!std::cout.flush()) throw scansession::InputError("the output cannot be written");
        return 0;
    } catch (const std::runtime_error& error) { // usage, input, a session, a file
        std::cerr << "scansession: " << error.what() << '\n';
        return c_badInput;
    } catch (const std::exception& error) {
        std::cerr << "scansession: " << error.what() << '\n';
        return 1;
    }
}
