// A scan session from end to end: takes depth images, hangs each as a leaf with its pose into the
// transformation tree, and writes the surfels of all leaves in the frame of the root.

#include "examples/scansession/inputerror.h"
#include "examples/scansession/options.h"
#include "examples/scansession/run.h"
#include "examples/session/sessionerror.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    constexpr int c_badInput = 2;
    try {
        const auto options = scansession::ParseOptions(argc, argv, std::cout);
        if (options) scansession::RunSession(*options, std::cout, std::cerr);
        return 0;
    } catch (const scansession::UsageError& error) {
        std::cerr << "scansession: " << error.what() << '\n';
        return c_badInput;
    } catch (const scansession::InputError& error) {
        std::cerr << "scansession: " << error.what() << '\n';
        return c_badInput;
    } catch (const sessionfile::SessionError& error) {
        std::cerr << "scansession: " << error.what() << '\n';
        return c_badInput;
    } catch (const std::exception& error) {
        std::cerr << "scansession: " << error.what() << '\n';
        return 1;
    }
}
