var rang = "";

function applySettings() {
  surface("main").opacity = setting("opacity") / 100;
  picture("second").visible = setting("showSeconds") === "on";
  schedule("sweep").enabled = setting("sweep") === "on" && setting("showSeconds") === "on";
}

function drawHands(time) {
  picture("hour").angle = hourAngle(time);
  picture("minute").angle = minuteAngle(time);
  caption("date").text = time.format("ddd d. MMM");
  drawSecond(time);
}

function drawSecond(time) {
  picture("second").angle = secondAngle(time, setting("sweep") === "on");
}

// Once a minute at most, however often the schedule comes by.
function checkAlarm(time) {
  var minute = time.format("HH:mm");
  if (setting("alarmOn") !== "on" || minute !== setting("alarmTime") || minute === rang) return;
  rang = minute;
  notify("Analog Clock", "It is " + minute + ".");
}
