// What an enlarged picture shows.

import assert from 'node:assert/strict';
import {beforeEach, test} from 'node:test';

import {Zoom} from '../../page/zoom.js';

let element;
let zoom;

beforeEach(() => {
  const parentElement = {
    clientWidth: 200,
    clientHeight: 100,
    dataset: {},
    getBoundingClientRect: () => ({left: 1000, top: 500}),
  };
  element = {parentElement, style: {}};
  zoom = new Zoom(element);
});

const at = (x, y) => ({x: 1000 + x, y: 500 + y});

test('what lies between the fingers stays there', () => {
  zoom.by(2, at(100, 50));
  assert.equal(element.style.transform, 'translate(-100px, -50px) scale(2)');
  assert.equal(element.parentElement.dataset.zoomed, 'on');
});

test('the picture is moved up to its edges', () => {
  zoom.by(2, at(0, 0));
  zoom.pan({x: -30, y: -500});
  assert.equal(element.style.transform, 'translate(-30px, -100px) scale(2)');
  zoom.pan({x: 100, y: 0});
  assert.equal(element.style.transform, 'translate(0px, -100px) scale(2)');
});

test('it is never smaller than its place nor larger than is of use', () => {
  zoom.by(100, at(0, 0));
  assert.match(element.style.transform, /scale\(8\)/);
  zoom.by(0.001, at(50, 50));
  assert.equal(element.style.transform, 'translate(0px, 0px) scale(1)');
  assert.equal(zoom.isOn, false);
});
