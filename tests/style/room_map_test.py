import unittest

from style_check_case import StyleCheckCase

MARKS = "<!-- picture: rooms -->\n{}<!-- end of picture -->\n"


class RoomMap(StyleCheckCase):
    script = "room_map"
    sources = {
        "webui/A.cpp": '#include "platform/unix/A.h"\n#include "platform/Data.h"\n',
        "platform/Data.h": "",
        "platform/unix/A.h": '#include "platform/unix/B.h"\n',
        "platform/unix/B.h": "",
        "platform/linux/ui/A.h": '#include "platform/unix/A.h"\n#include "platform/linux/x11/A.h"\n',
        "platform/linux/x11/A.h": '#include "platform/unix/A.h"\n',
    }

    def project_with(self, *arrows):
        lines = [
            f'  {a.replace("/", "_")}["{a}/"] --> {b.replace("/", "_")}["{b}/"]\n' for a, b in arrows
        ]
        drawing = "".join(["```mermaid\n", "graph TD\n", *lines, "```\n"])
        return self.sources | {"docs/architecture.md": MARKS.format(drawing)}

    def test_every_include_is_an_arrow_unless_another_way_leads_there(self):
        self.assert_passes(
            self.project_with(
                ("platform/linux/ui", "platform/linux/x11"),
                ("platform/linux/x11", "platform/unix"),
                ("webui", "platform/unix"),
            )
        )

    def test_a_picture_that_is_out_of_date_fails(self):
        self.assert_fails(self.project_with(("webui", "platform/unix")), "is out of date")

    def test_a_document_without_a_place_for_it_is_an_error(self):
        self.assert_exits_with(2, self.sources | {"docs/architecture.md": ""})


if __name__ == "__main__":
    unittest.main()
