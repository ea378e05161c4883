import unittest

from style_check_case import StyleCheckCase


class CheckWalls(StyleCheckCase):
    script = "check_walls"

    def assert_crosses(self, source, header):
        """A file with only this include fails, and the complaint names file, line and header."""
        path = header.strip('<>"')
        self.assert_fails({source: f"#include {header}\n"}, f"{source}:1: includes {path}, but ")

    def assert_allowed(self, source, *headers):
        self.assert_passes({source: "".join(f"#include {header}\n" for header in headers)})

    def test_decisions_may_know_the_seam_and_the_standard_library(self):
        self.assert_allowed("Runner/A.cpp", '"Runner/A.h"', '"platform/Data.h"', "<vector>")

    def test_decisions_may_not_know_the_system(self):
        for header in ("<unistd.h>", "<sys/socket.h>", "<X11/Xlib.h>", "<glib.h>"):
            self.assert_crosses("Runner/A.cpp", header)

    def test_decisions_may_not_know_a_back_end_the_codecs_or_the_user_interface(self):
        for header in (
            '"platform/linux/dispatch/Dispatch.h"',
            '"platform/macos/Dispatch.h"',
            '"platform/flutter/LinkFrame.h"',
            '"webui/Page.h"',
            '"tests/fakes/FakeMachine.h"',
        ):
            self.assert_crosses("Runner/A.cpp", header)
        self.assert_crosses("Runner/parts/A.h", "<platform/linux/dispatch/Dispatch.h>")

    def test_the_seam_may_know_only_itself_and_the_standard_library(self):
        self.assert_allowed("platform/A.h", '"platform/B.h"', "<span>")
        walled_off = ('"platform/flutter/A.h"', '"platform/linux/A.h"', '"Runner/A.h"', "<poll.h>")
        for header in walled_off:
            self.assert_crosses("platform/A.h", header)

    def test_the_codecs_may_know_only_themselves_the_seam_and_the_standard_library(self):
        self.assert_allowed(
            "platform/flutter/A.cpp", '"platform/flutter/A.h"', '"platform/B.h"', "<bit>"
        )
        for header in ('"platform/linux/A.h"', '"Runner/A.h"', '"webui/A.h"', "<zlib.h>"):
            self.assert_crosses("platform/flutter/A.cpp", header)

    def test_a_back_end_may_know_libraries_the_codecs_and_itself(self):
        for own in ("linux", "macos"):
            self.assert_allowed(
                f"platform/{own}/A.cpp",
                f'"platform/{own}/A.h"',
                '"platform/flutter/LinkFrame.h"',
                '"platform/Data.h"',
                "<xcb/xcb.h>",
                "<vector>",
            )

    def test_a_back_end_may_not_know_the_decisions_or_another_back_end(self):
        for source, header in (
            ("platform/linux/A.cpp", '"Runner/A.h"'),
            ("platform/linux/A.cpp", '"platform/macos/A.h"'),
            ("platform/linux/A.cpp", '"webui/A.h"'),
            ("platform/macos/A.mm", '"Runner/A.h"'),
            ("platform/macos/A.mm", '"platform/linux/A.h"'),
        ):
            self.assert_crosses(source, header)

    def test_the_web_interface_may_know_the_codecs_and_libraries(self):
        self.assert_allowed(
            "webui/A.cpp",
            '"webui/A.h"',
            '"platform/flutter/A.h"',
            '"platform/Data.h"',
            "<libsoup/soup.h>",
        )

    def test_the_web_interface_may_not_know_the_decisions_or_a_back_end(self):
        for header in ('"Runner/A.h"', '"platform/linux/A.h"', '"platform/macos/A.h"'):
            self.assert_crosses("webui/A.cpp", header)

    def test_what_trust_is_made_of_knows_nothing_of_the_rest(self):
        self.assert_allowed(
            "webui/trust/A.cpp", '"webui/trust/A.h"', '"platform/Data.h"', "<sodium.h>", "<map>"
        )
        for header in ('"webui/A.h"', '"webui/delta/A.h"', '"platform/flutter/A.h"', '"Runner/A.h"'):
            self.assert_crosses("webui/trust/A.cpp", header)
        self.assert_allowed("webui/A.cpp", '"webui/trust/A.h"')

    def test_the_registrar_of_agents_stands_alone(self):
        self.assert_allowed("launchctl/A.cpp", '"launchctl/A.h"', "<plist/plist.h>", "<vector>")
        for header in ('"Runner/A.h"', '"platform/Data.h"', '"platform/linux/A.h"', '"webui/A.h"'):
            self.assert_crosses("launchctl/A.cpp", header)
        self.assert_crosses("platform/linux/A.cpp", '"launchctl/A.h"')

    def test_the_guardian_stands_alone(self):
        self.assert_allowed("guardian/A.cpp", '"guardian/A.h"', "<xcb/xcb.h>", "<set>")
        for header in ('"Runner/A.h"', '"platform/Data.h"', '"platform/linux/A.h"', '"webui/A.h"'):
            self.assert_crosses("guardian/A.cpp", header)
        self.assert_crosses("platform/linux/A.cpp", '"guardian/A.h"')

    def test_the_rooms_of_the_back_end_know_only_those_below(self):
        self.assert_allowed("platform/linux/capture/A.cpp", '"platform/linux/frame/A.h"', "<xcb/xcb.h>")
        self.assert_allowed("platform/linux/A.cpp", '"platform/linux/capture/A.h"')
        for room in ("frame", "x11", "jpeg", "link"):
            self.assert_crosses(f"platform/linux/{room}/A.cpp", '"platform/linux/capture/A.h"')
        self.assert_crosses("platform/linux/capture/A.cpp", '"platform/linux/A.h"')

    def test_every_program_on_linux_may_know_what_all_of_them_need_of_the_system(self):
        for source in ("platform/linux/A.cpp", "webui/A.cpp", "launchctl/A.cpp", "guardian/A.cpp"):
            self.assert_allowed(source, '"platform/unix/A.h"')
        self.assert_allowed("platform/unix/A.cpp", '"platform/unix/A.h"', "<unistd.h>", "<thread>")
        for header in ('"platform/Data.h"', '"platform/linux/A.h"', '"webui/A.h"'):
            self.assert_crosses("platform/unix/A.cpp", header)
        for source in ("Runner/A.cpp", "platform/A.h"):
            self.assert_crosses(source, '"platform/unix/A.h"')

    def test_a_relative_path_leads_through_no_wall(self):
        files = {"platform/linux/A.h": "", "webui/B.cpp": '#include "../platform/linux/A.h"\n'}
        self.assert_fails(files, "webui/B.cpp:1: includes platform/linux/A.h, but ")
        self.assert_fails(
            {"Runner/A.cpp": '#include "platform/../platform/linux/A.h"\n'},
            "Runner/A.cpp:1: includes platform/linux/A.h, but ",
        )

    def test_a_file_beside_the_source_is_the_projects_own(self):
        self.assert_passes({"Runner/A.h": "", "Runner/A.cpp": '#include "A.h"\n'})

    def test_every_way_to_write_an_include_is_seen(self):
        for text in (
            "#include<poll.h>",
            "  #  include <poll.h>",
            "#import <poll.h>",
            "#include_next <poll.h>",
            "%:include <poll.h>",
            "/* why */ #include <poll.h>  // because",
        ):
            self.assert_fails({"Runner/A.cpp": text + "\n"}, "includes poll.h, but ")
        self.assert_fails({"Runner/A.cpp": "#include HEADER\n"}, "includes HEADER, but ")
        self.assert_fails({"Runner/A.mm": "@import Cocoa;\n"}, "includes Cocoa;, but ")

    def test_comments_and_texts_do_not_count(self):
        self.assert_passes(
            {
                "Runner/A.cpp": "// #include <poll.h>\n"
                "/*\n#include <poll.h>\n*/\n"
                "constexpr int thousand = 1'000; /* it's\n#include <poll.h>\n*/\n"
                'const char* url = "http://x"; // text\n'
                '#if __has_include(<poll.h>)\n#endif\n'
            }
        )

    def test_what_looks_like_a_comment_in_a_text_hides_nothing(self):
        source = 'const char* a = "/*";\n#include <poll.h>\nconst char* b = "*/";\n'
        self.assert_fails({"Runner/A.cpp": source}, "Runner/A.cpp:2: includes poll.h, but ")

    def test_every_crossing_is_listed(self):
        self.assert_fails(
            {
                "Runner/A.cpp": "#include <vector>\n#include <poll.h>\n#include <glib.h>\n",
                "webui/B.h": '#include "Runner/A.h"\n',
            },
            "Runner/A.cpp:2: includes poll.h",
            "Runner/A.cpp:3: includes glib.h",
            "webui/B.h:1: includes Runner/A.h",
        )

    def test_an_empty_project_is_an_error(self):
        self.assert_exits_with(2, {"README.md": ""})


if __name__ == "__main__":
    unittest.main()
