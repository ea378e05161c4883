import unittest

from style_check_case import StyleCheckCase


class CheckDeterminism(StyleCheckCase):
    script = "check_determinism"

    def assert_forbidden(self, code, what):
        self.assert_fails({"Runner/A.cpp": f"\n{code}\n"}, f"Runner/A.cpp:2: {what}")

    def test_clocks_are_forbidden(self):
        for code in (
            "auto now = std::chrono::steady_clock::now();",
            "using Clock = std::chrono::system_clock;",
            "auto now = high_resolution_clock::now();",
            "auto now = std::time(nullptr);",
            "auto now = time (nullptr);",
            "auto ticks = ::clock();",
            "gettimeofday(&now, nullptr);",
            "clock_gettime(CLOCK_MONOTONIC, &now);",
            "auto day = std::localtime(&now);",
        ):
            self.assert_forbidden(code, "reads a clock")

    def test_waiting_is_forbidden(self):
        for code in ("sleep_for(delay);", "sleep_until(then);", "usleep(5);", "sleep(1);"):
            self.assert_forbidden(code, "sleeps")
        for code in ("changed.wait_for(lock, delay);", "changed.wait_until(lock, then);"):
            self.assert_forbidden(code, "waits for time to pass")

    def test_randomness_is_forbidden(self):
        for code in (
            "int i = rand();",
            "std::srand(1);",
            "long i = random();",
            "double d = drand48();",
            "std::random_device device;",
            "std::mt19937 engine;",
            "auto i = arc4random_uniform(6);",
        ):
            self.assert_forbidden(code, "asks for randomness")

    def test_threads_are_forbidden(self):
        for code in (
            "std::thread worker(run);",
            "std::jthread worker(run);",
            "auto result = std::async(run);",
            "std::this_thread::yield();",
            "pthread_create(&id, nullptr, run, nullptr);",
        ):
            self.assert_forbidden(code, "uses a thread of its own")

    def test_their_headers_are_forbidden(self):
        for header in ("ctime", "chrono", "random", "thread", "future"):
            self.assert_forbidden(f"#include <{header}>", "includes time, chance or threads")

    def test_given_time_and_words_of_that_kind_are_allowed(self):
        self.assert_passes(
            {
                "Runner/A.cpp": "// std::thread and rand() are for others\n"
                'log("sleep(1) and steady_clock");\n'
                "auto now = dispatch.uptimeNanoseconds();\n"
                "media.time(); clip->clock(); runtime(); operand(1); brand(2);\n"
                "std::mutex mutex; auto timer = dispatch.makeTimer(queue);\n"
            }
        )

    def test_only_the_decisions_are_bound(self):
        self.assert_passes({"Runner/A.cpp": "", "platform/linux/A.cpp": "usleep(1);\n"})

    def test_an_empty_project_is_an_error(self):
        self.assert_exits_with(2, {"README.md": ""})


if __name__ == "__main__":
    unittest.main()
