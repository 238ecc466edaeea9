// Stands in for the front end of a driver and for the GUI starter: writes where it runs, its arguments and,
// as a front end, the first line that it is sent to the file "started" in its working directory.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

int main(int argc, char** argv)
{
    std::string line;
    if (argc > 1 && std::string(argv[1]) == "Server") {
        // More than a pipe holds: it would stand still here if its output waited for a reader that never
        // comes.
        std::cout << std::string(1000000, '.') << std::flush;
        std::getline(std::cin, line);
    }
    {
        std::ofstream file("started.part");
        file << std::filesystem::current_path().string() << '\n';
        for (int i = 1; i < argc; ++i)
            file << argv[i] << '\n';
        file << line << '\n';
    }
    std::filesystem::rename("started.part", "started");
    return 7;
}
