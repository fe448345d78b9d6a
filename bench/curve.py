"""Of what learning_bench and bogofilter say of mails: how much spam is caught at which share of good mail.
usage: curve.py DIRECTORY     (see learning.sh)"""
import os
import sys

SHARES = (0, 0.05, 0.1, 0.2, 0.5, 1)  # percent of the good mail
INDICATIONS = 3


def read(path):
    with open(path) as file:
        return [line.split() for line in file]


def curve(name, mails):
    """mails: (is spam, score)."""
    good = sorted((score for spam, score in mails if not spam), reverse=True)
    spams = [score for spam, score in mails if spam]
    caught = []
    for share in SHARES:
        limit = good[int(len(good) * share / 100)]  # whoever has more is caught
        caught.append(100 * sum(score > limit for score in spams) / len(spams))
    print(f"{name:14}" + "".join(f"{one:8.1f}" for one in caught))


def at_points(name, mails):
    for points in (100, 180):
        parts = []
        for kind in (True, False):
            scores = [score for spam, score in mails if spam == kind]
            hits = sum(score >= points for score in scores)
            parts.append(f"{100 * hits / len(scores):.2f} % ({hits} of {len(scores)})")
        print(f"{name:14} at {points}: spam {parts[0]}, good {parts[1]}")


directory = sys.argv[1]
lists, learning, both = [], [], []
for kind, fold, total, indications, exceptions, weight, points in read(directory + "/scores"):
    spam, total, indications, points = kind == "spam", int(total), int(indications), int(points)
    counts = lambda found: exceptions == "0" and found >= INDICATIONS
    lists.append((spam, total if counts(indications) else 0))
    learning.append((spam, float(weight)))
    found = indications + (1 if points > 0 and indications > 0 else 0)
    both.append((spam, total + points if counts(found) else 0))
print(f"{'good mail, %':14}" + "".join(f"{share:8}" for share in SHARES))
curve("lists", lists)
curve("learning", learning)
curve("both", both)
if os.path.exists(directory + "/bogofilter.scores"):
    curve("bogofilter", [(kind == "spam", float(score)) for kind, score in read(directory + "/bogofilter.scores")])
at_points("lists", lists)
at_points("both", both)
for name, spam, verdict in (("spam unsure", True, 0), ("good unsure", False, 0), ("good as spam", False, 1), ("spam as good", True, -1)):
    rows = [int(row[6]) for row in read(directory + "/scores") if (row[0] == "spam") == spam]
    hits = sum((points > 0) - (points < 0) == verdict for points in rows)
    print(f"{name:14} {100 * hits / len(rows):.2f} %")
