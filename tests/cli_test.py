#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Drives the command line as a user does: real programs, real files, real exit codes.

Usage: cli_test.py FOLDER-OF-THE-PROGRAMS
"""
import array
import json
import math
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import wave

PROGRAMS = pathlib.Path(sys.argv.pop(1)).resolve()
RATE = 22050


def music(seed, seconds):
    """A melody of decaying harmonics; other seeds give other melodies."""
    chance = random.Random(seed)
    samples = array.array("h")
    note = RATE // 2
    while len(samples) < seconds * RATE:
        pitches = [110 * 2 ** (chance.randrange(36) / 12) for _ in range(3)]
        levels = [chance.uniform(1000, 4000) for _ in pitches]
        tables = []
        for pitch, level in zip(pitches, levels):
            tables.append((2 * math.pi * pitch / RATE, level))
        decay = chance.uniform(1, 6) / RATE
        for i in range(note):
            fade = math.exp(-decay * i)
            value = sum(level * math.sin(step * i) for step, level in tables)
            samples.append(int(fade * value) + chance.randrange(-60, 60))
    return samples


def write_wav(path, samples):
    path.parent.mkdir(parents=True, exist_ok=True)
    with wave.open(str(path), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(samples.tobytes())


def picture(path, seed, width=480, height=320):
    """A photograph-like picture: soft light, some shapes, a little grain."""
    chance = random.Random(seed)
    waves = [(chance.uniform(0.002, 0.03), chance.uniform(0.002, 0.03), chance.uniform(0, 6),
              chance.uniform(10, 40)) for _ in range(8)]
    discs = [(chance.randrange(width), chance.randrange(height), chance.randrange(20, 90),
              [chance.randrange(256) for _ in range(3)]) for _ in range(6)]
    pixels = bytearray()
    for y in range(height):
        for x in range(width):
            light = 120 + sum(a * math.sin(u * x + v * y + p) for u, v, p, a in waves)
            color = [light, light * 0.9, light * 0.8]
            for cx, cy, r, c in discs:
                if (x - cx) ** 2 + (y - cy) ** 2 < r * r:
                    color = [0.5 * color[i] + 0.5 * c[i] for i in range(3)]
            grain = chance.randrange(-4, 5)
            pixels += bytes(max(0, min(255, int(v + grain))) for v in color)
    path.parent.mkdir(parents=True, exist_ok=True)
    ppm = path.with_suffix(".ppm")
    ppm.write_bytes(b"P6 %d %d 255\n" % (width, height) + pixels)
    encode(ppm, path)
    ppm.unlink()


def encode(source, target, *options):
    target.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", source, *options, target], check=True)


class CommandLine(unittest.TestCase):
    """What both groups of tests stand on."""

    @classmethod
    def tearDownClass(cls):
        cls.media_folder.cleanup()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.data = self.folder / "data"

    def run_cli(self, *words, programs=PROGRAMS, data=None, **options):
        return subprocess.run(
            [programs / "quillmarsh-cli", "--data-dir", data or self.data, *words],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120, **options)


class Scanning(CommandLine):
    @classmethod
    def setUpClass(cls):
        cls.media_folder = tempfile.TemporaryDirectory()
        cls.media = pathlib.Path(cls.media_folder.name)
        song, other = music(1, 33), music(2, 33)
        write_wav(cls.media / "a/Song.wav", song)
        encode(cls.media / "a/Song.wav", cls.media / "b/One.mp3", "-b:a", "128k")
        encode(cls.media / "a/Song.wav", cls.media / "b/Two.ogg")
        write_wav(cls.media / "b/Unlike.wav", other)
        write_wav(cls.media / "a/short.wav", music(3, 8))
        encode(cls.media / "a/short.wav", cls.media / "b/clip.flac")
        cls.expected = {("Song.wav", "One.mp3"), ("Song.wav", "Two.ogg"), ("One.mp3", "Two.ogg"),
                        ("short.wav", "clip.flac")}

    def scan(self, *words, **options):
        """The pairs of file names of a scan by sound alone, and the whole JSON object."""
        done = self.run_cli("--set", "enableAudioTags=0", "scan", "--json", *words, **options)
        self.assertEqual(done.returncode, 0, done.stderr)
        result = json.loads(done.stdout.decode("utf-8", errors="strict"))
        pairs = {tuple(os.path.basename(p[k]) for k in "ab") for p in result["audio"]}
        return pairs, result

    def log(self):
        return b"".join(p.read_bytes() for p in (self.data / "logs").iterdir())

    def test_finds_copies_in_other_formats_and_decodes_them_once(self):
        pairs, first = self.scan(self.media / "a", self.media / "b")
        self.assertEqual(pairs, self.expected)
        self.assertEqual(first["stats"], {"scheduled": 6, "processed": 6})
        for pair in first["audio"]:
            self.assertIsNone(pair["tags"])
            self.assertGreater(pair["precise"], 0.5)
            self.assertLess(pair["a"], pair["b"])
        # A decoder that cannot even start: everything must come from the cache.
        copies = self.folder / "bin"
        copies.mkdir()
        shutil.copy(PROGRAMS / "quillmarsh-cli", copies)
        shutil.copy("/bin/false", copies / "decoder")
        again, second = self.scan(self.media / "a", self.media / "b", programs=copies)
        self.assertEqual(again, pairs)
        self.assertEqual(second["audio"], first["audio"])
        self.assertNotIn(b"Decoder process", self.log())
        self.assertNotIn(b"failed [", self.log())

    def test_table_settings_groups_and_the_ignore_list(self):
        done = self.run_cli("scan", self.media)
        self.assertEqual(done.returncode, 0)
        self.assertIn(b"Audio group 1\n", done.stdout)
        self.assertIn(b"Song.wav", done.stdout)
        self.assertIn(b"4 pairs among 6 files.", done.stderr)

        pairs, _ = self.scan("--group", "2", self.media / "a", self.media / "b")
        self.assertEqual(pairs, set())
        pairs, _ = self.scan("--group", "1", self.media / "a", "--group", "2", self.media / "b")
        self.assertEqual(pairs, self.expected - {("One.mp3", "Two.ogg")})

        pairs, _ = self.scan("--threads", "1", "--set", "enableAudioPrecise=0", self.media)
        self.assertEqual(pairs, self.expected - {("short.wav", "clip.flac")})

        for words in (["ignore", "add", self.media / "b/One.mp3", self.media / "a/Song.wav"],):
            self.assertEqual(self.run_cli(*words).returncode, 0)
        self.assertIn(b"One.mp3", self.run_cli("ignore", "list").stdout)
        pairs, _ = self.scan(self.media)
        self.assertEqual(pairs, self.expected - {("Song.wav", "One.mp3")})
        self.assertEqual(self.run_cli("ignore", "clear").returncode, 0)
        self.assertEqual(self.run_cli("ignore", "list").stdout, b"")

        self.assertRegex(self.run_cli("cache", "stats").stdout, rb"^6 item\(s\) \(\d+\.\d\d MB\)\n$")
        self.assertEqual(self.run_cli("cache", "clear").returncode, 0)
        self.assertEqual(self.run_cli("cache", "stats").stdout, b"0 item(s) (0.00 MB)\n")

    def test_bad_files_cost_nothing_but_themselves(self):
        bad = self.folder / "bad"
        shutil.copytree(self.media, bad / "good")
        mp3 = (self.media / "b/One.mp3").read_bytes()
        flac = (self.media / "b/clip.flac").read_bytes()
        (bad / "empty.mp3").write_bytes(b"")
        (bad / "zeros.wav").write_bytes(bytes(100000))
        (bad / "text.mp3").write_text("this is no sound " * 1000)
        (bad / "noise.flac").write_bytes(random.Random(5).randbytes(200000))
        flipped = bytearray(flac)
        for place in range(1000, len(flipped), 997):
            flipped[place] ^= 0x40
        (bad / "flipped.flac").write_bytes(flipped)
        (bad / "cut.flac").write_bytes(flac[: len(flac) // 3])
        (bad / "head.mp3").write_bytes(mp3[:50])
        (bad / "named.jpg").write_bytes(mp3)
        os.mkfifo(bad / "pipe.mp3")
        os.symlink(bad / "good/b/One.mp3", bad / "link.mp3")
        os.symlink(bad, bad / "loop")
        (bad / "locked").mkdir(mode=0o000)
        shutil.copy(self.media / "b/One.mp3", os.fsencode(bad) + b"/caf\xe9 \n\x1b[31m.mp3")
        try:
            pairs, result = self.scan(bad)
        finally:
            (bad / "locked").chmod(0o700)
        odd = "caf\\xE9 \n\x1b[31m.mp3"
        for name in (odd, "named.jpg"):
            self.assertTrue(any({name, "Song.wav"} == set(p) for p in pairs), pairs)
        self.assertTrue({tuple(sorted(p)) for p in self.expected} <=
                        {tuple(sorted(p)) for p in pairs})
        names = {name for pair in pairs for name in pair}
        self.assertFalse(names & {"zeros.wav", "text.mp3", "noise.flac", "empty.mp3", "pipe.mp3",
                                  "link.mp3"})
        self.assertEqual(result["stats"]["scheduled"], result["stats"]["processed"])

    def test_a_folder_that_vanishes_during_the_scan(self):
        shutil.copytree(self.media, self.folder / "stays")
        doomed = self.folder / "doomed"
        for i in range(40):
            shutil.copytree(self.media / "b", doomed / f"{i}")
        process = subprocess.Popen(
            [PROGRAMS / "quillmarsh-cli", "--data-dir", self.data, "--threads", "1", "scan",
             "--json", doomed, self.folder / "stays"], stdout=subprocess.PIPE)
        time.sleep(0.2)
        shutil.rmtree(doomed)
        output, _ = process.communicate(timeout=120)
        self.assertEqual(process.returncode, 0)
        names = {os.path.basename(p[k]) for p in json.loads(output)["audio"] for k in "ab"
                 if p[k].startswith(str(self.folder / "stays"))}
        self.assertTrue({"Song.wav", "short.wav", "clip.flac"} <= names)

    def test_messages_for_what_the_user_can_mend(self):
        cases = [
            (["scan", self.folder / "missing"], 1, b"missing"),
            (["scan", self.media / "a/Song.wav"], 1, b"is not a folder"),
            (["scan"], 2, b"needs a folder"),
            (["frobnicate"], 2, b"no command"),
            (["probe", self.folder / "missing.mp3"], 1, b""),
        ]
        for words, status, text in cases:
            done = self.run_cli(*words)
            self.assertEqual(done.returncode, status, words)
            self.assertIn(text, done.stderr)

        copies = self.folder / "bin"
        copies.mkdir()
        shutil.copy(PROGRAMS / "quillmarsh-cli", copies)
        done = self.run_cli("scan", self.media, programs=copies)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"program that reads media files is missing", done.stderr)

        taken = self.folder / "taken"
        taken.write_text("a file, not a folder")
        done = self.run_cli("scan", self.media, data=taken)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"cannot write in the data folder", done.stderr)

        (self.data / "cache.dat").mkdir(parents=True)
        done = self.run_cli("scan", self.media)
        self.assertEqual(done.returncode, 0)
        self.assertIn(b"nothing is kept for the next one", done.stderr)
        self.assertIn(b"Song.wav", done.stdout)

    def test_probe_tells_format_and_tags(self):
        tagged = self.folder / "tagged.mp3"
        encode(self.media / "a/short.wav", tagged, "-b:a", "96k", "-metadata", "title=Näme\x1b[0m",
               "-metadata", "artist=Who", "-metadata", "album=What")
        picture(self.folder / "view.png", 1, 60, 40)
        done = self.run_cli("probe", tagged, self.media / "a/short.wav", self.folder / "view.png")
        self.assertEqual(done.returncode, 0, done.stdout)
        text = done.stdout.decode()
        for part in ("MP3", "0:08.", "96 kbit/s", "22050 Hz", "Näme\\x1B[0m", "Who", "What", "PCM",
                     "24bit PNG", "60 x 40"):
            self.assertIn(part, text)
        notes = self.folder / "notes.txt"
        notes.write_text("words")
        done = self.run_cli("probe", notes)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"neither sound nor a picture", done.stdout)

    def test_benchmark_lists_and_measures_devices(self):
        environment = dict(os.environ, POCL_CACHE_DIR=str(PROGRAMS.parent / "device-cache"))
        listed = self.run_cli("benchmark", env=environment)
        self.assertEqual(listed.returncode, 0, listed.stderr)
        names = listed.stdout.decode().splitlines()
        self.assertTrue(names)
        done = self.run_cli("benchmark", "--device", names[0], env=environment)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout.decode(), r"\ASuccessful\n\nCPU speed \(1 core\): \d+ms.*\n"
                                               r"OpenCL device speed: \d+ms.*\n\Z")
        unknown = self.run_cli("benchmark", "--device", names[0] + "x", env=environment)
        self.assertEqual(unknown.returncode, 1)
        self.assertEqual(unknown.stdout, listed.stdout)
        self.assertIn(b"there is no compute device", unknown.stderr)

    def test_an_interrupted_scan_ends_in_order_and_keeps_what_it_learned(self):
        many = self.folder / "many"
        for i in range(12):
            write_wav(many / f"{i}.wav", music(100 + i, 7) * 5)
        process = subprocess.Popen(
            [PROGRAMS / "quillmarsh-cli", "--data-dir", self.data, "--threads", "1", "scan", many],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        cache = self.data / "cache.dat"
        while not cache.exists() or cache.stat().st_size < 10000:
            time.sleep(0.01)
        second = self.run_cli("cache", "stats")
        self.assertEqual(second.returncode, 1)
        self.assertIn(b"another Quillmarsh is using", second.stderr)
        process.send_signal(signal.SIGINT)
        output, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130, errors)
        self.assertEqual(output, b"")
        self.assertRegex(errors, rb"interrupted after \d+ of 12 files")
        self.assertNotEqual(self.run_cli("cache", "stats").stdout, b"0 item(s) (0.00 MB)\n")
        _, result = self.scan(many)
        self.assertEqual(result["stats"]["processed"], 12)


class Lasting(CommandLine):
    """Sound and pictures together, and results that outlive their process."""

    @classmethod
    def setUpClass(cls):
        cls.media_folder = tempfile.TemporaryDirectory()
        cls.media = pathlib.Path(cls.media_folder.name)
        for seed in range(6):
            first = cls.media / f"sound/{seed}.wav"
            write_wav(first, music(200 + seed, 6))
            encode(first, cls.media / f"sound/copy/{seed}.flac")
            encode(first, cls.media / f"sound/copy/{seed}.mp3", "-b:a", "160k")
        for seed in range(3):
            first = cls.media / f"pictures/{seed}.png"
            picture(first, 300 + seed)
            for name, options in (("small.jpg", ["-vf", "scale=iw/4:-1"]),
                                  ("rough.jpg", ["-q:v", "20"]),
                                  ("quarter.png", ["-vf", "transpose=1"]),
                                  ("half.bmp", ["-vf", "hflip,vflip"]),
                                  ("mirror.tiff", ["-vf", "hflip"]),
                                  ("diagonal.png", ["-vf", "transpose=0"])):
                encode(first, cls.media / f"pictures/copy/{seed}-{name}", *options)

    def pairs(self, *words):
        done = self.run_cli(*words, "--json")
        self.assertEqual(done.returncode, 0, done.stderr)
        return json.loads(done.stdout)

    def test_pictures_are_found_in_every_orientation(self):
        result = self.pairs("scan", self.media / "pictures")
        self.assertEqual(result["stats"], {"scheduled": 21, "processed": 21})
        found = {frozenset(os.path.basename(p[k]) for k in "ab") for p in result["images"]}
        for seed in range(3):
            for copy in ("small.jpg", "rough.jpg", "quarter.png", "half.bmp", "mirror.tiff",
                         "diagonal.png"):
                self.assertIn(frozenset({f"{seed}.png", f"{seed}-{copy}"}), found)
        for pair in found:
            self.assertEqual(len({name[0] for name in pair}), 1, "unlike pictures were paired")
        table = self.run_cli("scan", self.media / "pictures").stdout.decode()
        self.assertIn("Image group 3\ncontent  experimental", table)

    def test_an_interrupted_scan_resumes_to_the_same_pairs(self):
        whole = self.pairs("--data-dir", self.folder / "other", "scan", self.media)
        self.assertGreaterEqual(len(whole["audio"]), 18)
        self.assertGreaterEqual(len(whole["images"]), 18)
        chance = random.Random(9)
        words = ["--threads", "1", "scan", self.media]
        for _ in range(4):
            process = subprocess.Popen(
                [PROGRAMS / "quillmarsh-cli", "--data-dir", self.data, *words],
                stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            time.sleep(chance.uniform(0.05, 0.4))
            process.send_signal(signal.SIGINT)
            process.communicate(timeout=60)
            words = ["--threads", "2", "resume"]
        result = self.pairs("resume")
        self.assertEqual(result["stats"], whole["stats"])
        for table in ("audio", "images"):
            self.assertEqual({json.dumps(p) for p in result[table]},
                             {json.dumps(p) for p in whole[table]})

    def test_what_was_found_survives_a_kill(self):
        whole = self.pairs("--data-dir", self.folder / "other", "scan", self.media)
        expected = {json.dumps(p) for t in ("audio", "images") for p in whole[t]}
        chance = random.Random(10)
        seen = 0
        autosave = self.data / "autosave.quillmarsh"
        for turn in range(8):
            process = subprocess.Popen(
                [PROGRAMS / "quillmarsh-cli", "--data-dir", self.data, "scan", self.media],
                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            time.sleep(chance.uniform(0.02, 0.5))
            if turn % 2:
                # Whatever the load of the machine, some kills must come with results in the file.
                while process.poll() is None and not (
                        autosave.exists() and any(autosave.read_bytes()[32:200])):
                    time.sleep(0.01)
            process.kill()
            process.wait()
            if not autosave.exists() or autosave.stat().st_size == 0:
                continue
            kept = self.pairs("show", autosave)
            found = {json.dumps(p) for t in ("audio", "images") for p in kept[t]}
            self.assertTrue(found <= expected)
            seen = max(seen, len(found))
        self.assertGreater(seen, 0)
        result = self.pairs("scan", self.media)
        self.assertEqual({json.dumps(p) for t in ("audio", "images") for p in result[t]}, expected)

    def test_saved_results_are_shown_again(self):
        saved = self.folder / "mine.quillmarsh"
        whole = self.pairs("scan", self.media / "pictures", "--save", saved)
        shown = self.pairs("show", saved)
        self.assertEqual(shown["images"], whole["images"])
        precious = self.folder / "thesis.quillmarsh"
        precious.write_text("no results at all, but years of work" * 10)
        done = self.run_cli("scan", self.media / "pictures", "--save", precious)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"is no results file", done.stderr)
        self.assertTrue(precious.read_text().startswith("no results at all"))


class Acting(CommandLine):
    """Ratings, exports, marks and what is done to marked files."""

    @classmethod
    def setUpClass(cls):
        cls.media_folder = tempfile.TemporaryDirectory()
        cls.media = pathlib.Path(cls.media_folder.name)
        for seed in range(2):
            best = cls.media / f"best/{seed}.flac"
            write_wav(cls.media / f"{seed}.wav", music(400 + seed, 12))
            encode(cls.media / f"{seed}.wav", best, "-ar", "44100", "-ac", "2")
            encode(best, cls.media / f"worse/{seed}.mp3", "-b:a", "64k", "-ac", "1")
            (cls.media / f"{seed}.wav").unlink()
        picture(cls.media / "large.png", 500)
        encode(cls.media / "large.png", cls.media / "small.png", "-vf", "scale=iw/2:-1")

    def setUp(self):
        super().setUp()
        self.work = self.folder / "work"
        shutil.copytree(self.media, self.work)
        self.saved = self.folder / "mine.quillmarsh"
        self.environment = dict(os.environ, XDG_DATA_HOME=str(self.folder / "xdg"))

    def scan(self, *words):
        done = self.run_cli("--set", "enableAudioTags=0", "scan", *words)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done

    def mark(self, *words, **options):
        return self.run_cli("--set", "audioAutomarkValuePrecise=0.6", "mark", self.saved, *words,
                            env=self.environment, **options)

    def shown(self):
        return json.loads(self.run_cli("show", self.saved, "--json").stdout)

    def test_analysis_rates_every_audio_file_and_is_kept(self):
        rated = json.loads(self.scan("--analyse", self.work, "--json", "--save", self.saved).stdout)
        self.assertEqual(rated["audio"] + rated["images"], [])
        self.assertEqual(rated["stats"], {"scheduled": 4, "processed": 4})
        rating = {os.path.basename(a["path"]): a["rating"] for a in rated["analysis"]}
        self.assertEqual(sorted(rating), ["0.flac", "0.mp3", "1.flac", "1.mp3"])
        self.assertLess(max(rating["0.mp3"], rating["1.mp3"]), 0.5)
        self.assertGreater(min(rating["0.flac"], rating["1.flac"]),
                           max(rating["0.mp3"], rating["1.mp3"]))
        self.assertEqual(set(rated["analysis"][0]), {
            "path", "rating", "clipping", "silence", "absmean", "minstep", "absmax", "maxfreq",
            "clicks", "samplerate", "channels", "bitrate", "duration", "size"})
        self.assertEqual(self.shown()["analysis"], rated["analysis"])
        # A decoder that cannot even start: everything must come from the cache.
        copies = self.folder / "bin"
        copies.mkdir()
        shutil.copy(PROGRAMS / "quillmarsh-cli", copies)
        shutil.copy("/bin/false", copies / "decoder")
        again = self.run_cli("scan", "--analyse", self.work, "--json", programs=copies)
        self.assertEqual(json.loads(again.stdout)["analysis"], rated["analysis"])
        table = self.scan("--analyse", self.work)
        lines = table.stdout.decode().splitlines()
        self.assertEqual(len(lines), 5)
        self.assertRegex(lines[1], r"^ *\d+\.\d%  .*  .*\.mp3$")
        self.assertIn(b"4 rated files among 4 files.", table.stderr)

    def test_exports(self):
        self.scan(self.work, "--export", self.folder / "pairs.csv")
        text = (self.folder / "pairs.csv").read_bytes().decode()
        self.assertEqual(text.count("\r\n"), 3)
        self.assertRegex(text, r'^"File";"Other file";"Content %";"Tags %";"Precise %"\r\n'
                               r'"[^"]*";"[^"]*";-100\.0000;-100\.0000;\d+\.\d{4}\r\n')
        images = (self.folder / "pairs-images.csv").read_bytes().decode()
        self.assertIn("large.png", images)
        self.scan(self.work, "--export", self.folder / "page.HTML")
        page = (self.folder / "page-images.HTML").read_text()
        self.assertIn('<img alt="large.png" src="data:image/jpeg;base64,', page)
        self.assertNotIn("cannot be read", page)
        self.assertIn("Sounds that are alike", (self.folder / "page.HTML").read_text())
        self.scan("--analyse", self.work, "--export", self.folder / "ratings.html")
        self.assertEqual((self.folder / "ratings.html").read_bytes().count(b"<td"), 4 * 14)
        failed = self.run_cli("scan", self.work / "best", "--export", "/dev/full/x.csv")
        self.assertEqual(failed.returncode, 1)
        self.assertIn(b"/dev/full/x.csv", failed.stderr)

    def test_marked_files_go_to_the_trash_and_out_of_the_results(self):
        self.scan(self.work)
        self.scan("--analyse", self.work, "--save", self.saved)
        worse = sorted([self.work / "worse/0.mp3", self.work / "worse/1.mp3",
                        self.work / "small.png"])
        listed = self.mark()
        self.assertEqual(listed.returncode, 0, listed.stderr)
        self.assertEqual(sorted(map(pathlib.Path, listed.stdout.decode().split("\n")[:-1])), worse)

        refused = self.mark("--trash", input=b"n\n")
        self.assertEqual(refused.returncode, 1)
        self.assertIn(b"Move 3 files to the trash?", refused.stderr)
        self.assertTrue(all(path.exists() for path in worse))

        done = self.mark("--trash", input=b"yes\n")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(b"Moved 3 files to the trash.", done.stderr)
        self.assertFalse(any(path.exists() for path in worse))
        trash = [path for path in self.folder.rglob("*.trashinfo")]
        trash += [path for path in pathlib.Path(self.folder.anchor).glob(
            f".Trash*{os.getuid()}/info/*") if str(self.work) in path.read_text()]
        self.assertEqual(len(trash), 3)
        left = self.shown()
        self.assertEqual(left["audio"] + left["images"], [])
        self.assertEqual({os.path.basename(a["path"]) for a in left["analysis"]},
                         {"0.flac", "1.flac"})

    def test_moving_never_overwrites_and_never_takes_the_last_file(self):
        self.scan(self.work, "--save", self.saved)
        target = self.folder / "target"
        target.mkdir()
        marked = [pathlib.Path(p) for p in self.mark().stdout.decode().split("\n")[:-1]]
        self.assertEqual(len(marked), 3)
        # One name is taken, one file has changed since, and one is all that is left of its group.
        taken = next(p for p in marked if p.stem == "0")
        (target / taken.name).write_text("precious")
        changed = next(p for p in marked if p.stem == "1")
        changed.write_bytes(changed.read_bytes() + b"more")
        (self.work / "large.png").unlink()
        done = self.mark("--move", target, "--yes")
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"changed since the scan", done.stderr)
        self.assertIn(b"no other file of its group would stay", done.stderr)
        self.assertIn(b"1 file could not be moved", done.stderr)
        self.assertTrue(all(path.exists() for path in marked))
        self.assertEqual([p.name for p in target.iterdir()], [taken.name])
        self.assertEqual((target / taken.name).read_text(), "precious")


if __name__ == "__main__":
    unittest.main()
