#!/usr/bin/env python3
"""Workloads for the whole-process benchmarks.

  workloads.py prefs FILE COUNT TOLVANE [--launch]
      A preferences file of COUNT realistic alarms, every one holding all 149 tags of the saved
      form (read from the reader's table in src/alarm/save_data.cc). The alarms mix dated, daily,
      monthly, hourly and timer alarms, all set well away from now so that none rings within the
      next hour; with --launch the last one is an enabled timer of length 0, which rings at once.
  workloads.py tree ROOT COUNT
      An Applications tree of about COUNT entries: bundles with contents, nested plain folders,
      documents, links to folders (a loop among them) and names that are not UTF-8, and no item
      named like Tolvane.
"""

import os
import pathlib
import re
import sys
import time
import urllib.parse

REPO = pathlib.Path(__file__).resolve().parent.parent


def saved_form_rows():
    source = (REPO / "src/alarm/save_data.cc").read_text()
    return re.findall(r'\{"(\w+)", k(\w+)\}', source)


def alarm_block(index, rows, soon_minute, launch):
    kinds = ["date", "daily", "monthly", "hourly", "timer"]
    kind = "launch" if launch else kinds[index % len(kinds)]
    # Twelve hours from now, so no daily, dated or monthly alarm comes due during a run.
    hour, minute = (time.localtime().tm_hour + 12) % 24, soon_minute
    values = {
        "dAlarmFormat": {"date": "", "daily": "", "monthly": "monthly", "hourly": "hourly",
                         "timer": "timer", "launch": "timer"}[kind],
        "dAlarmName": urllib.parse.quote(f"Alarm {index}: wake up, it's {hour:02}:{minute:02}"),
        "dYear": "2031" if kind == "date" else "",
        "dMonth": "3" if kind == "date" else "",
        "dDay": str(1 + index % 28) if kind == "date" else "",
        "dHour": str(hour), "dMinute": str(minute), "dHourlyMinute": str(minute),
        "dMonthlyMonth": "", "dTimerHour": "0" if kind == "launch" else "20",
        "dTimerMinute": "0" if kind == "launch" else "30", "dTimerSecond": "0",
        "mEnabled": "False" if index % 7 == 6 and not launch else "True",
        "vAudioVideoFile": urllib.parse.quote(f"/Users/sam/Music/Morning {index}.m4a", safe=""),
        "vOpenFile": "", "vScreenshotLocation": urllib.parse.quote("/Users/sam/Pictures", safe=""),
    }
    parts = []
    for tag, rule in rows:
        if rule == "FlagList":
            count = 7 if tag == "dMonthlyWeekday" else 5
            for i in range(count):
                on = i == index % count
                parts.append(f"<{tag}-{i}>{'True' if on else 'False'}</{tag}-{i}>")
            continue
        if tag in values:
            value = values[tag]
        elif rule == "Text":
            value = urllib.parse.quote(f"{tag} of alarm {index}")
        elif rule == "Flag":
            value = "True" if (index + len(tag)) % 3 == 0 else "False"
        elif rule.startswith("Port"):
            value = "587"
        else:
            value = str((index + len(tag)) % 100)
        parts.append(f"<{tag}>{value}</{tag}>")
    return "<item>" + "".join(parts) + "</item>\n"


def write_prefs(path, count, tolvane, launch):
    rows = saved_form_rows()
    assert len(rows) == 139, "the reader's table changed shape"
    # Thirty minutes from now: an hourly alarm there cannot ring within the next half hour.
    soon_minute = (time.localtime().tm_min + 30) % 60
    with open(path, "w") as out:
        out.write('<?xml version="1.0" encoding="UTF-8"?>\n<preferences>\n<settings>\n')
        out.write("<iRingOffset>0</iRingOffset>\n<LastLaunch>0</LastLaunch>\n")
        location = urllib.parse.quote(tolvane, safe="")
        out.write(f"<LastApplicationLocation>{location}</LastApplicationLocation>\n")
        out.write("<new-alarms>\n")
        for i in range(count):
            out.write(alarm_block(i, rows, soon_minute, launch and i == count - 1))
        out.write("</new-alarms>\n</settings>\n</preferences>\n")


def write_tree(root, count):
    """Folders of ten entries: a bundle, a plain folder (the next level), a link and documents."""
    root = pathlib.Path(root)
    root.mkdir(parents=True, exist_ok=True)
    made, queue, serial = 0, [root], 0
    while made < count:
        folder = queue.pop(0)
        for i in range(10):
            serial += 1
            if i == 0:
                bundle = folder / f"Tool {serial}.app"
                (bundle / "Contents/MacOS").mkdir(parents=True)
                (bundle / "Contents/Info.plist").write_text("<plist/>")
                made += 4
            elif i in (1, 2):
                sub = folder / f"Folder {serial}"
                sub.mkdir()
                queue.append(sub)
                made += 1
            elif i == 3:
                os.symlink(".." if serial % 2 else "/", folder / f"Link {serial}")
                made += 1
            elif i == 4:
                (folder / os.fsdecode(b"Caf\xe9 %d.txt" % serial)).write_bytes(b"")
                made += 1
            else:
                (folder / f"Readme {serial}.txt").write_bytes(b"")
                made += 1
    return made


def main(argv):
    if len(argv) >= 5 and argv[1] == "prefs":
        write_prefs(argv[2], int(argv[3]), argv[4], "--launch" in argv[5:])
    elif len(argv) == 4 and argv[1] == "tree":
        print(write_tree(argv[2], int(argv[3])))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv)
