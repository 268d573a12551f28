"""The Python module: numpy arrays to records and back (kinds, strides), numpy truth
for one call per family, the error mapping and threads."""
import os
import sys
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest

import quilp

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "..", "scripts", "corpus"))
from textpage import render_page  # noqa: E402


@pytest.fixture(scope="module")
def page():
    p = render_page(7, dpi=100, width_in=4, height_in=3, size_pt=12)
    return p.grey


@pytest.fixture(scope="module")
def colour(page):
    rng = np.random.default_rng(1)
    rgb = np.stack([page, page, page], axis=2).astype(np.int16)
    rgb[40:80, 50:200] = (200, 40, 40)       # a red stamp
    rgb += rng.integers(-6, 7, rgb.shape, dtype=np.int16)
    return np.clip(rgb, 0, 255).astype(np.uint8)


def test_one_call_per_family_gives_the_shape_and_kind(page, colour):
    """The pixels are the library's (proved by its own tests); here the arguments reach it."""
    assert quilp.to_grey(colour, colour="C82828").shape == page.shape
    dropped = quilp.drop_colours(colour, ["C82828"])
    assert dropped.dtype == np.uint8 and dropped[40:80, 50:200].mean() > 200 > colour[40:80, 50:200, 1].mean() + 100
    assert quilp.binarize(page, "threshold", threshold=100, invert=True).dtype == bool
    assert quilp.filter(page, "min", hsize=5, vsize=3).shape == page.shape
    turned = quilp.rotate(page < 128, -4, expand=True)
    assert turned.dtype == bool and turned.shape[0] > page.shape[0] and turned.shape[1] > page.shape[1]
    assert quilp.rotate(colour, 1.5, interp="bicubic").shape == colour.shape


def test_round_trips_of_every_kind_with_any_strides(page, colour):
    bits = page < 128
    cases = [
        (page, lambda a: quilp.filter(a, "gain")),           # gain 1, offset 0: identity
        (colour, lambda a: quilp.difference(a, np.zeros_like(a))),
        (bits, lambda a: quilp.erode_dilate(a, 0)),
    ]
    for img, identity in cases:
        for view in (img, img[::2, ::3], img[5:-7, 3:-2], np.swapaxes(img, 0, 1)):
            ro = view.copy()
            ro.flags.writeable = False
            for a in (view, ro):
                out = identity(a)
                assert out.dtype == img.dtype and out.flags.c_contiguous
                np.testing.assert_array_equal(out, a)


def test_measures_against_numpy(page, colour):
    assert quilp.variance(page) == pytest.approx(np.var(page, ddof=1), rel=1e-9)
    r, g, b = quilp.variance(colour)
    assert (r, g, b) == pytest.approx([np.var(colour[..., i], ddof=1) for i in range(3)], rel=1e-9)
    other = np.roll(page, 3, axis=1)
    assert quilp.difference(page, other, total=True) == np.abs(
        page.astype(int) - other.astype(int)).sum()
    over = quilp.difference(page, other, method="over", offset=10)
    np.testing.assert_array_equal(over, np.clip(page.astype(int) + 10 - other, 0, 255))
    t = quilp.otsu_levels(page)
    np.testing.assert_array_equal(quilp.binarize(page, "otsu"), page < t)


def test_geometry_against_numpy_and_rendered_truth(page, colour):
    from textpage import rotate_page, turn_page
    for img in (page, colour, page < 128):
        for k in (-1, 1, 2, 7):
            np.testing.assert_array_equal(quilp.turn(img, k), np.rot90(img, -k))
    p = render_page(3, dpi=150, width_in=5, height_in=4)
    skewed = rotate_page(p, 2.0)
    assert quilp.skew_angle(skewed.grey) == pytest.approx(2.0, abs=0.05)
    straight, degrees = quilp.deskew(skewed.grey)
    assert degrees == pytest.approx(2.0, abs=0.05) and straight.shape == p.grey.shape
    quarters, confidence = quilp.orientation(turn_page(p, 1).grey)
    assert (quarters, confidence > 50) == (3, True)
    assert quilp.orientation(np.full((300, 300), 255, np.uint8)) == (None, 0)


@pytest.mark.parametrize("call, error", [
    (lambda g: quilp.binarize(g.astype(np.float32)), "binarize: expected"),
    (lambda g: quilp.binarize(g[:0]), "empty"),
    (lambda g: quilp.binarize(g < 5), "takes grey colour"),
    (lambda g: quilp.binarize(g, "magic"), "method is"),
    (lambda g: quilp.binarize(g, "threshold", threshold=300), "0..256"),
    (lambda g: quilp.to_grey(g), "takes colour"),
    (lambda g: quilp.drop_colours(np.dstack([g, g, g]), "FFFFFF"), "white or neutral"),
    (lambda g: quilp.filter(g, "min", size=4), "not provided"),
    (lambda g: quilp.erode_dilate(g < 5, 40), "-127..32"),
    (lambda g: quilp.difference(g[:10], g), "at least as large"),
    (lambda g: quilp.otsu_levels(g, 4), "classes is 2 or 3"),
    (lambda g: quilp.to_grey(np.zeros((4, 4, 3), np.uint8)), "no grey direction"),
    (lambda g: quilp.rotate(g, float("nan")), "finite"),
    (lambda g: quilp.morph(g, "hitmiss"), "1-bit"),
    (lambda g: quilp.morph(g < 9, "erode", "rect:3"), "needs 2 numbers"),
    (lambda g: quilp.upscale(g < 9, 2.5), "factors 2, 3 or 4"),
])
def test_failures_raise_value_error_with_the_reason(page, call, error):
    with pytest.raises(ValueError, match=error):
        call(page)
    with pytest.raises(TypeError, match="unexpected keyword 'windoe'"):
        quilp.filter(page, "local", windoe=5)


def test_two_threads_give_the_single_thread_results(page):
    pages = [np.roll(page, k, axis=0) for k in range(6)]
    work = lambda g: (quilp.filter(g, "flatten"), quilp.binarize(g, "otsu"))
    alone = [work(g) for g in pages]
    with ThreadPoolExecutor(2) as pool:
        together = list(pool.map(work, pages))
    for (a1, a2), (b1, b2) in zip(alone, together):
        np.testing.assert_array_equal(a1, b1)
        np.testing.assert_array_equal(a2, b2)


def test_morphology_and_scaling_against_numpy(page):
    """One call per family; the element strings are read by the module."""
    rng = np.random.default_rng(5)
    ink = rng.random((23, 37)) < 0.6
    cross = np.pad(ink, 1)[1:-1, 1:-1] | np.pad(ink, 1)[:-2, 1:-1] | np.pad(ink, 1)[2:, 1:-1] \
        | np.pad(ink, 1)[1:-1, :-2] | np.pad(ink, 1)[1:-1, 2:]
    np.testing.assert_array_equal(quilp.morph(ink, "dilate", "010/111/010"), cross)
    ys, xs = np.nonzero(~np.pad(ink, 1, constant_values=False))
    for y, x in zip(*np.nonzero(ink)):
        assert quilp.distance(ink)[y, x] == pytest.approx(np.sqrt(((ys - y - 1) ** 2 + (xs - x - 1) ** 2).min()))
    even = page[:100, :150]
    blocks = even.reshape(50, 2, 75, 2).astype(int).sum(axis=(1, 3))
    np.testing.assert_array_equal(quilp.zoom(even, 0.5), (blocks + 2) // 4)
    assert quilp.upscale(ink, 2).shape == (46, 74) and quilp.upscale(even, 1.5).shape == (150, 225)
    speck = np.zeros((120, 120), bool)
    speck[60:62, 60:62] = True
    assert not quilp.despeckle(speck).any() and quilp.squeeze(speck, 4)[30, 30]
    corners = quilp.morph(ink, "hitmiss", ".0./.11/...")  # ink, ink to its right, paper above
    np.testing.assert_array_equal(corners[1:, :-1], ink[1:, :-1] & ink[1:, 1:] & ~ink[:-1, :-1])


def test_clean_straightens_and_binarizes_a_turned_skewed_page():
    from textpage import rotate_page, turn_page
    truth = render_page(11, dpi=150, width_in=6, height_in=5)
    scan = turn_page(rotate_page(truth, 3.0), 2).grey
    page, report = quilp.clean(scan, dpi=150, report=True)
    assert page.dtype == bool and page.shape == scan.shape
    assert report["quarter_turns"] == 2 and report["skew_degrees"] == pytest.approx(3.0, abs=0.1)
    grey = quilp.clean(scan, dpi=150, output="grey", despeckle=False)
    assert grey.dtype == np.uint8 and grey.shape == scan.shape
    with pytest.raises(ValueError, match="output is"):
        quilp.clean(scan, output="ink")
