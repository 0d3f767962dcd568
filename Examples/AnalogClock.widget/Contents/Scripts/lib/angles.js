// Angles in degrees, clockwise from twelve o'clock.
function hourAngle(time) {
  return (time.hours % 12) * 30 + time.minutes / 2;
}

function minuteAngle(time) {
  return time.minutes * 6 + time.seconds / 10;
}

function secondAngle(time, sweeping) {
  return time.seconds * 6 + (sweeping ? time.milliseconds * 0.006 : 0);
}
