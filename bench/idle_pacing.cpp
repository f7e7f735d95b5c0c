// The idle panel's pacing and nothing else: one thread that looks at a
// descriptor every 10 ms (the link's reads) and three that turn every 33 ms
// (the previews), for the given seconds. bench/idle_cpu.sh runs it beside the
// panel, so that the panel's figure can be read against what the pacing alone
// costs on the same machine in the same minute.
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

int main(int argc, char** argv)
{
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 30;
    std::atomic<bool> stop {false};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        while (!stop) {
            pollfd p {0, POLLIN, 0};
            ::poll(&p, 1, 0);
            ::usleep(10000);
        }
    });
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            std::atomic<int> draw {0};
            while (!stop) {
                draw.exchange(0);
                ::usleep(33333);
            }
        });
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    stop = true;
    for (std::thread& t : threads)
        t.join();
}
