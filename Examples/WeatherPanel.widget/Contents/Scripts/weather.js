var reading = null;

function refresh() {
  var url = setting("server") + "/" + encodeURIComponent(setting("station")) + "?days=3";
  fetchText(url, function (status, text) {
    if (status !== 200) return showTrouble(status);
    reading = JSON.parse(text);
    show(reading);
  });
}

function show(forecast) {
  picture("now").source = "Images/Large/" + forecast.now.sky + ".png";
  caption("degrees").text = shownTemperature(forecast.now.celsius);
  caption("place").text = forecast.station + ", " + shownWind(forecast.now.wind);
  forecast.days.slice(0, 3).forEach(function (day, i) {
    picture("day" + (i + 1)).source = "Images/Day/" + day.sky + ".png";
  });
}

function showTrouble(status) {
  caption("degrees").text = "\u2013\u00B0";
  caption("place").text = text("noAnswer") + " (" + status + ")";
}

function openPage() {
  openAddress(setting("server") + "/stations/" + encodeURIComponent(setting("station")));
}
