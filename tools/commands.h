// The commands of the program. Each adds itself to the argument parser and runs when it is named.

#pragma once

namespace CLI {
class App;
}

namespace rle {

// `status` receives the exit status of the command that runs; it starts as 0.
void addInfoCommand(CLI::App& app, int& status);
void addConvertCommand(CLI::App& app, int& status);
void addComponentCommand(CLI::App& app);
void addNearestCommand(CLI::App& app);
void addViewCommand(CLI::App& app);

}  // namespace rle
